#include "IllegalInstruction.h"

#include <csignal>

void raiseIllegalInstruction()
{
    std::raise(SIGILL);
}
