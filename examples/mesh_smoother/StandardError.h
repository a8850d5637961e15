#pragma once
/// \file
/// Standard error, for what is printed while the process dies.

/// Writes the text without allocation and without locks.
void printWithoutMemory(const char* text);
