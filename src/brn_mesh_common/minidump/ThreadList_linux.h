#pragma once
/// \file
/// Internal, not installed. The threads of the process and their registers. Lies zeroed in static storage.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <brn_mesh_common/minidump/FixedList.h>
#include <brn_mesh_common/minidump/Format.h>

namespace Brennic::Minidump {

struct CapturedThread
{
    std::int32_t id;
    bool hasRegisters;
    bool hasEnded;        ///< before it could be stopped
    bool blocksSignal;    ///< blocks the signal that asks for its registers
    int pendingSignal;    ///< a signal that was about to be delivered when it was stopped
    ContextAmd64 context; ///< zeros without registers
};

class ThreadList
{
public:
    void clear()
    {
        m_ids.clear();
        m_threads.clear();
    }

    /// \return null if there is no more room.
    CapturedThread* add(std::int32_t id)
    {
        CapturedThread thread{};
        thread.id = id;
        m_ids.add(id);
        return m_threads.add(thread);
    }

    /// Null if the thread is not listed.
    CapturedThread* find(std::int32_t id)
    {
        const std::int32_t* const found = std::find(m_ids.begin(), m_ids.end(), id);
        return found == m_ids.end() ? nullptr : &m_threads[static_cast<std::size_t>(found - m_ids.begin())];
    }

    void removeEnded()
    {
        std::size_t count = 0;
        for (const CapturedThread& thread : m_threads) {
            if (thread.hasEnded)
                continue;
            m_ids[count] = thread.id;
            if (&m_threads[count] != &thread)
                m_threads[count] = thread;
            ++count;
        }
        m_ids.truncate(count);
        m_threads.truncate(count);
    }

    std::size_t size() const { return m_threads.size(); }
    CapturedThread* begin() { return m_threads.begin(); }
    CapturedThread* end() { return m_threads.end(); }
    const CapturedThread* begin() const { return m_threads.begin(); }
    const CapturedThread* end() const { return m_threads.end(); }

private:
    static constexpr std::size_t mostThreads = 4096;

    FixedList<std::int32_t, mostThreads>
        m_ids; // beside the records, so that a search stays in few cache lines
    FixedList<CapturedThread, mostThreads> m_threads;
};

} // namespace Brennic::Minidump
