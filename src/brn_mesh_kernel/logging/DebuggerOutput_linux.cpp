#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <unistd.h>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/library/LimitedStream_linux.h>

namespace Brennic::Core {

namespace {

LimitedStream& standardError()
{
    static LimitedStream& stream =
        *new LimitedStream(STDERR_FILENO); // never destroyed: records are logged late
    return stream;
}

} // namespace

// Through a LimitedStream, because writing to a pipe without a reader would kill the host, and writing to a
// full one would block it.
void writeDebuggerLine(const std::wstring& message)
{
    standardError().write("[KVS_LOG] " + boost::nowide::narrow(message) + '\n');
}

bool takeFirstLossOfDebuggerLine()
{
    return standardError().takeFirstLoss();
}

} // namespace Brennic::Core
