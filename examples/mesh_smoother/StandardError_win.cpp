#include "StandardError.h"

#include <cstring>

#include <windows.h>

void printWithoutMemory(const char* text)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
}
