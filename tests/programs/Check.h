#pragma once
/// \file
/// For programs that tests run as child processes: ends with 1 and a line if a condition does not hold.

#include <cstdio>
#include <cstdlib>

#define CHECK(condition)                                                                                     \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                             \
            std::_Exit(1);                                                                                   \
        }                                                                                                    \
    } while (false)
