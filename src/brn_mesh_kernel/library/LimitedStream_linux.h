#pragma once
/// \file
/// Internal, not installed. Writes to a descriptor that somebody may have stopped reading.
///
/// A pipe without a reader ends a process that writes to it, and a full one holds the writer back until somebody reads.
/// Neither may happen to a host because it logs. Where nobody reads, what is written is left out.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string_view>

namespace Brennic::Core {

class LimitedStream
{
public:
    /// A stream over \p descriptor, which may be closed, or mean something else, at any time.
    explicit LimitedStream(int descriptor) : m_descriptor(descriptor) {}
    LimitedStream(const LimitedStream&) = delete;
    LimitedStream& operator=(const LimitedStream&) = delete;

    /// Writes the text, or as much of it as is taken; the text after one that was cut begins on a line of its own.
    ///
    /// Waits for a reader for at most a second, and each time that was in vain, half as long the next time: two
    /// seconds in the life of the process. Never raises `SIGPIPE`. Thread: any; texts do not mix.
    ///
    /// \param before is called when there is room, before the text is written; may be null.
    void write(std::string_view text, void (*before)() = nullptr);

    /// Whether something was left out because nobody read it. True at most once.
    bool takeFirstLoss();

    /// Whether writing may have to wait for somebody: true of pipes, sockets and terminals.
    bool hasReader() const;

private:
    using Clock = std::chrono::steady_clock;

    int timeLeft(Clock::time_point& deadline);
    bool waitForRoom(Clock::time_point& deadline);
    std::size_t writeWhole(std::string_view text, void (*before)());
    void leaveOut();

    const int m_descriptor;
    std::mutex m_mutex;        // held while a text is written
    bool m_isLineOpen = false; // guarded by m_mutex: the rest of the text before was left out
    std::chrono::milliseconds m_patience{1000}; // guarded by m_mutex
    bool m_hasLost = false;                     // guarded by m_mutex
    std::atomic<bool> m_isLossNew{false};
};

} // namespace Brennic::Core
