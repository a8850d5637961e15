#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <windows.h>

#include <brn_mesh_common/ValidUnicode.h>

namespace Brennic::Core {

void writeDebuggerLine(const std::wstring& message)
{
    OutputDebugStringW((L"[KVS_LOG] " + Objects::Util::validUnicode(message) + L'\n').c_str());
}

bool takeFirstLossOfDebuggerLine()
{
    return false; // the system discards what no debugger reads
}

} // namespace Brennic::Core
