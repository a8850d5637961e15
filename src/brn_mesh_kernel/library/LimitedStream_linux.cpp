#include <brn_mesh_kernel/library/LimitedStream_linux.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace Brennic::Core {

namespace {

// Blocks SIGPIPE in the thread while the object lives, and consumes the one that its own write has raised.
class WithoutPipeSignal
{
public:
    WithoutPipeSignal()
    {
        sigemptyset(&m_pipeSignal);
        sigaddset(&m_pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipeSignal, &m_before);
        m_wasPending = sigismember(&m_before, SIGPIPE) == 1 && isPending();
    }
    ~WithoutPipeSignal()
    {
        const int savedError = errno;
        constexpr timespec noTime = {0, 0};
        if (m_isRaised && !m_wasPending)
            while (sigtimedwait(&m_pipeSignal, nullptr, &noTime) < 0 && errno == EINTR) {
            }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = savedError;
    }
    WithoutPipeSignal(const WithoutPipeSignal&) = delete;
    WithoutPipeSignal& operator=(const WithoutPipeSignal&) = delete;

    void raised() { m_isRaised = true; }

private:
    static bool isPending()
    {
        sigset_t pending;
        return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t m_pipeSignal{};
    sigset_t m_before{};
    bool m_wasPending = false;
    bool m_isRaised = false;
};

enum class Kind
{
    file,
    pipe,
    socket,
    terminal
};

Kind kindOf(int descriptor)
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0)
        return Kind::file; // closed: the write will fail
    if (S_ISFIFO(status.st_mode))
        return Kind::pipe;
    if (S_ISSOCK(status.st_mode))
        return Kind::socket;
    return S_ISCHR(status.st_mode) && ::isatty(descriptor) == 1 ? Kind::terminal : Kind::file;
}

// Another process may fill the pipe between poll() and the write, which would then block. Where the system has
// it, RWF_NOWAIT prevents that; elsewhere a write of PIPE_BUF bytes blocks least often, since poll() reports that
// much room.
ssize_t writeToPipe(int descriptor, std::string_view text)
{
    static std::atomic<bool> canWriteAtOnce{true};
    if (canWriteAtOnce) {
        iovec piece = {const_cast<char*>(text.data()), text.size()};
        const ssize_t written = ::pwritev2(descriptor, &piece, 1, -1, RWF_NOWAIT);
        if (written >= 0 || errno == EAGAIN || errno == EPIPE || errno == EINTR)
            return written;
        canWriteAtOnce = false;
    }
    return ::write(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
}

ssize_t writePiece(int descriptor, Kind kind, std::string_view text)
{
    constexpr std::size_t terminalPiece = 256; // a terminal that poll() reports as writable has room for that
    switch (kind) {
    case Kind::pipe:
        return writeToPipe(descriptor, text);
    case Kind::socket:
        return ::send(descriptor, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    case Kind::terminal:
        return ::write(descriptor, text.data(), std::min(text.size(), terminalPiece));
    case Kind::file:
        break;
    }
    return ::write(descriptor, text.data(), text.size());
}

} // namespace

bool LimitedStream::hasReader() const
{
    return kindOf(m_descriptor) != Kind::file;
}

bool LimitedStream::takeFirstLoss()
{
    return m_isLossNew.load(std::memory_order_relaxed) && m_isLossNew.exchange(false);
}

void LimitedStream::noteLoss()
{
    if (!m_hasLost)
        m_isLossNew = true;
    m_hasLost = true;
}

// In milliseconds. The first wait for a text sets its deadline. Each wait that times out halves the next one.
int LimitedStream::timeLeft(Clock::time_point& deadline)
{
    if (deadline == Clock::time_point())
        deadline = Clock::now() + m_patience;
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (rest.count() > 0)
        return static_cast<int>(rest.count());
    m_patience /= 2;
    return 0;
}

// Returns false if the other end is closed, or makes no room in time.
bool LimitedStream::waitForRoom(Clock::time_point& deadline)
{
    for (int timeout = 0;;) {
        pollfd stream = {m_descriptor, POLLOUT, 0};
        const int count = ::poll(&stream, 1, timeout);
        if (count > 0)
            return (stream.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
        if (count < 0 && errno != EINTR)
            return false;
        timeout = timeLeft(deadline);
        if (timeout == 0)
            return false;
    }
}

// Returns how much of it was written.
std::size_t LimitedStream::writeWhole(std::string_view text, void (*before)())
{
    const Kind kind = kindOf(m_descriptor);
    WithoutPipeSignal guard;
    Clock::time_point deadline;
    std::size_t count = 0;
    while (count < text.size()) {
        if (kind != Kind::file && !waitForRoom(deadline)) {
            noteLoss();
            break;
        }
        if (before != nullptr) {
            guard.raised(); // the host's stream may raise SIGPIPE, and does not report it
            before();
            before = nullptr;
            continue; // it has used some of the room
        }
        const ssize_t written = writePiece(m_descriptor, kind, text.substr(count));
        const int error = written < 0 ? errno : 0;
        if (written > 0) {
            count += static_cast<std::size_t>(written);
        } else if (error == EPIPE || (error == EAGAIN && kind != Kind::file && timeLeft(deadline) == 0)) {
            guard.raised();
            noteLoss();
            break;
        } else if (error != EINTR && (error != EAGAIN || kind == Kind::file)) {
            break; // closed, or the disk is full
        }
    }
    return count;
}

void LimitedStream::write(std::string_view text, void (*before)())
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string onItsOwnLine;
    if (m_isLineOpen) {
        onItsOwnLine = '\n' + std::string(text);
        text = onItsOwnLine;
    }
    if (const std::size_t count = writeWhole(text, before); count > 0)
        m_isLineOpen = count < text.size();
}

} // namespace Brennic::Core
