#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <cerrno>
#include <mutex>
#include <string_view>

#include <unistd.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Core {

namespace {

// One write is enough but for a line that a pipe takes in portions; the lock keeps its portions together.
std::mutex g_outputMutex;

void writeWhole(std::string_view bytes)
{
    const std::lock_guard<std::mutex> lock(g_outputMutex);
    while (!bytes.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, bytes.data(), bytes.size());
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            return; // standard error is closed or full: nobody to tell
    }
}

} // namespace

void writeDebuggerLine(const std::wstring& message)
{
    writeWhole("[KVS_LOG] " + boost::nowide::narrow(message) + '\n');
}

} // namespace Brennic::Core
