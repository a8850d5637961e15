#pragma once
/// \file
/// Takes system calls away from the process, as sandboxes and containers do. It cannot be undone.

#include <initializer_list>

namespace Brennic::Testing {

enum class Answer
{
    Error, ///< the call fails with EPERM
    Signal ///< the caller gets SIGSYS
};

void answerCallsWith(std::initializer_list<int> calls, Answer answer);

/// Lets the process make threads, but no processes. (Not for children that exec: it looks at `clone` alone.)
void refuseNewProcesses();

/// Has every call of this process, and of those that it makes, answered by whoever waits at the socket that the
/// environment names: see faults/Supervisor.h.
void letSupervisorAnswerCalls();
/// Tells it that what follows is what it waits for.
void markForSupervisor();

} // namespace Brennic::Testing
