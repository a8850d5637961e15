#include "IllegalInstruction.h"

#include <windows.h>

void raiseIllegalInstruction()
{
    RaiseException(EXCEPTION_ILLEGAL_INSTRUCTION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}
