#pragma once
/// \file
/// Crashes on purpose, to show what a crash leaves behind, and tells the user of crashes.

#include <string>
#include <vector>

/// The names of the ways to crash.
std::vector<std::string> crashKinds();

/// Crashes. Does not return, unless there is no such kind.
void crashOnPurpose(const std::string& kind);

// The next two run, or prepare what runs, in a process that is broken: no allocation, no lock.

/// Remembers where the command log of a crash will be.
/// \param dumpDirectory the directory of the log file
void prepareCrashNotice(const wchar_t* dumpDirectory);

/// The kernel's crash handler: prints where the dump and the command log are, on standard error.
bool printCrashNotice(const wchar_t* dumpPath);
