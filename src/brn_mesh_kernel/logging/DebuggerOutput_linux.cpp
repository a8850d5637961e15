#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <cerrno>
#include <mutex>
#include <string_view>

#include <poll.h>
#include <unistd.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Core {

namespace {

constexpr int patienceInMilliseconds = 1000;

// One write is enough but for a line that a pipe takes in portions; the lock keeps its portions together.
std::mutex g_outputMutex;
bool g_isLineOpen = false; // guarded by g_outputMutex: the rest of the line before had to be dropped

// A pipe that does not block refuses what it has no room for.
bool waitForRoom()
{
    pollfd standardError = {STDERR_FILENO, POLLOUT, 0};
    return ::poll(&standardError, 1, patienceInMilliseconds) == 1;
}

// Returns how much of it was written.
std::size_t writeWhole(std::string_view bytes)
{
    std::size_t count = 0;
    while (count < bytes.size()) {
        const ssize_t written = ::write(STDERR_FILENO, bytes.data() + count, bytes.size() - count);
        if (written > 0)
            count += static_cast<std::size_t>(written);
        else if (written == 0 || (errno != EINTR && !(errno == EAGAIN && waitForRoom())))
            break; // closed, or nobody makes room
    }
    return count;
}

void writeLine(const std::string& line)
{
    const std::lock_guard<std::mutex> lock(g_outputMutex);
    const std::string text = g_isLineOpen ? '\n' + line : line;
    if (const std::size_t count = writeWhole(text); count > 0)
        g_isLineOpen = count < text.size();
}

} // namespace

void writeDebuggerLine(const std::wstring& message)
{
    writeLine("[KVS_LOG] " + boost::nowide::narrow(message) + '\n');
}

} // namespace Brennic::Core
