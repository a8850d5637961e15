#include "StandardError.h"

#include <cstring>

#include <unistd.h>

void printWithoutMemory(const char* text)
{
    const ssize_t ignored = ::write(STDERR_FILENO, text, std::strlen(text));
    static_cast<void>(ignored);
}
