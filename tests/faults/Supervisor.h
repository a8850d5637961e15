#pragma once
/// \file
/// Runs the crash child so that every system call of its crash is answered here: carried out, failed, or cut short.
///
/// The child has a filter that asks, and so have the processes that it makes. What it does before it marks the beginning
/// of the crash is carried out and forgotten.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "crash/support/ChildProcess.h"

namespace Brennic::Testing {

/// What goes wrong.
struct Fault
{
    int call = -1;     ///< the system call's number
    unsigned time = 0; ///< which of these calls, counted from 1; 0 for all of them
    int error = 0;     ///< what it fails with; 0 for a write that writes half of what it should
};

struct SupervisedEnd
{
    ProcessEnd end;
    /// How often each system call was made from the mark on.
    std::map<int, unsigned> calls;
    /// How often the fault happened.
    unsigned faults = 0;
    bool isSupervised = false; ///< false if the system lets nobody answer for another
};

/// Runs the child in \p directory until it ends.
SupervisedEnd runSupervised(const std::filesystem::path& directory, const std::vector<std::string>& arguments,
                            const std::optional<Fault>& fault);

} // namespace Brennic::Testing
