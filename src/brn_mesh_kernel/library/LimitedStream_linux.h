#pragma once
/// \file
/// Internal, not installed. Writes to a descriptor whose other end may no longer be read.
///
/// Writing to a pipe that has no reader kills the process by SIGPIPE, and writing to a full pipe blocks. Logging
/// must do neither to a host, so text that is not read in time is dropped.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string_view>

namespace Brennic::Core {

class LimitedStream
{
public:
    /// A stream over \p descriptor. The host may close or redirect the descriptor at any time.
    explicit LimitedStream(int descriptor) : m_descriptor(descriptor) {}
    LimitedStream(const LimitedStream&) = delete;
    LimitedStream& operator=(const LimitedStream&) = delete;

    /// Writes the text, or as much of it as there is room for. The text after a truncated one begins on a new line.
    ///
    /// Waits at most a second for room. Each wait that times out halves the next one, so that all of them
    /// together take two seconds at most. Never raises `SIGPIPE`. Thread: any; texts of several threads do not
    /// mix.
    ///
    /// \param before is called once there is room, before the text is written; may be null.
    void write(std::string_view text, void (*before)() = nullptr);

    /// Whether text was dropped because it was not read. Returns true at most once.
    bool takeFirstLoss();

    /// Whether a write may have to wait for a reader: true of pipes, sockets and terminals.
    bool hasReader() const;

private:
    using Clock = std::chrono::steady_clock;

    int timeLeft(Clock::time_point& deadline);
    bool waitForRoom(Clock::time_point& deadline);
    std::size_t writeWhole(std::string_view text, void (*before)());
    void noteLoss();

    const int m_descriptor;
    std::mutex m_mutex;                         // held while a text is written
    bool m_isLineOpen = false;                  // guarded by m_mutex: the previous text was truncated
    std::chrono::milliseconds m_patience{1000}; // guarded by m_mutex
    bool m_hasLost = false;                     // guarded by m_mutex
    std::atomic<bool> m_isLossNew{false};
};

} // namespace Brennic::Core
