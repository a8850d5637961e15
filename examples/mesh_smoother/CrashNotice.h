#pragma once
/// \file
/// Tells the user of a crash. Runs in a process that is broken: allocates nothing and takes no lock.

/// Remembers where the command log of a crash will be.
/// \param dumpDirectory the directory of the log file
void prepareCrashNotice(const wchar_t* dumpDirectory);

/// The kernel's crash handler: prints where the dump and the command log are, on standard error.
bool printCrashNotice(const wchar_t* dumpPath);
