#include <brn_mesh_kernel/library/CurrentThread.h>

#include <windows.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Core {

namespace {

using SetThreadDescription = HRESULT(WINAPI*)(HANDLE thread, const wchar_t* description);

// Windows 10 and later have it.
SetThreadDescription findSetThreadDescription()
{
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto function = reinterpret_cast<void*>(GetProcAddress(kernel, "SetThreadDescription"));
    return reinterpret_cast<SetThreadDescription>(function);
}

} // namespace

void nameCurrentThread(const std::string& name)
{
    static const SetThreadDescription setThreadDescription = findSetThreadDescription();
    if (setThreadDescription != nullptr)
        setThreadDescription(GetCurrentThread(), boost::nowide::widen(name).c_str());
}

int currentCore()
{
    return static_cast<int>(GetCurrentProcessorNumber());
}

} // namespace Brennic::Core
