#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <windows.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Core {

void writeDebuggerLine(const std::wstring& message)
{
    // There and back replaces what is no valid Unicode.
    const std::wstring text = boost::nowide::widen(boost::nowide::narrow(message));
    OutputDebugStringW((L"[KVS_LOG] " + text + L'\n').c_str());
}

} // namespace Brennic::Core
