#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <windows.h>

#include <brn_mesh_kernel/logging/ValidUnicode.h>

namespace Brennic::Core {

void writeDebuggerLine(const std::wstring& message)
{
    OutputDebugStringW((L"[KVS_LOG] " + validUnicode(message) + L'\n').c_str());
}

} // namespace Brennic::Core
