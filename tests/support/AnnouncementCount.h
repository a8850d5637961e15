#pragma once
/// \file
/// Counts the tasks that a queue announces.

#include <atomic>

#include "support/AnnouncementSlot.h"

namespace Brennic::Testing {

class AnnouncementCount
{
public:
    explicit AnnouncementCount(Core::TaskQueue& queue) : m_slot(queue, [this](Core::Task*) { ++m_count; }) {}

    int count() const { return m_count; }

private:
    std::atomic<int> m_count{0};
    AnnouncementSlot m_slot;
};

} // namespace Brennic::Testing
