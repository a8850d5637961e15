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

void writeDebuggerLine(const std::wstring& message)
{
    standardError().write("[KVS_LOG] " + boost::nowide::narrow(message) + '\n');
}

bool takeFirstLossOfDebuggerLine()
{
    return standardError().takeFirstLoss();
}

} // namespace Brennic::Core
