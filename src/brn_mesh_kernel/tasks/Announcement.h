#pragma once
/// \file
/// The news, on its way to a worker, that a task has been added to the worker's queue. Not installed.

#include <cstdint>

namespace Brennic::Core {

class Task;

struct Announcement
{
    /// Only an address: the task may be gone by the time the news arrives, and another may live there.
    Task* task = nullptr;
    /// Which of the tasks added to the queue it is about, counted from 1; 0 where that is not known.
    std::uint64_t ticket = 0;
};

} // namespace Brennic::Core
