#include <brn_mesh_kernel/library/Process.h>

#include <cstdint>
#include <initializer_list>

#include <process.h>
#include <windows.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Core {

namespace {

// The function of a library that is loaded; null if there is none.
template <typename Function>
Function* find(const wchar_t* library, const char* name)
{
    const HMODULE module = GetModuleHandleW(library);
    if (module == nullptr)
        return nullptr;
    const auto function = reinterpret_cast<void*>(GetProcAddress(module, name));
    return reinterpret_cast<Function*>(function);
}

} // namespace

// A function that a DLL gives to std::atexit() is called when the DLL is detached, and by then the system has ended
// all other threads. exit() itself calls what is in the C library's own list. A process may have several C libraries.
void callAtExit(void (*function)())
{
    using CrtAtExit = int(void (*)());
    using OnExit = void*(void (*)());
    for (const wchar_t* name : {L"ucrtbase.dll", L"ucrtbased.dll"})
        if (auto* const crtAtExit = find<CrtAtExit>(name, "_crt_atexit"))
            crtAtExit(function);
    if (auto* const onExit = find<OnExit>(L"msvcrt.dll", "_onexit"))
        onExit(function);
}

// Not std::thread::detach(): winpthreads loses a thread that is detached while it begins. It never runs, or runs with a
// null argument and crashes.
bool startThread(void (*function)())
{
    const auto run = [](void* started) noexcept -> unsigned {
        reinterpret_cast<void (*)()>(started)();
        return 0;
    };
    const std::uintptr_t thread =
        _beginthreadex(nullptr, 0, run, reinterpret_cast<void*>(function), 0, nullptr);
    if (thread == 0)
        return false;
    CloseHandle(reinterpret_cast<HANDLE>(thread));
    return true;
}

ThreadEnd::ThreadEnd() : m_thread(0)
{
    HANDLE thread = nullptr;
    if (DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread,
                        SYNCHRONIZE | THREAD_QUERY_LIMITED_INFORMATION, FALSE, 0) != 0)
        m_thread = reinterpret_cast<std::intptr_t>(thread);
}

ThreadEnd::~ThreadEnd()
{
    if (m_thread != 0)
        CloseHandle(reinterpret_cast<HANDLE>(m_thread));
}

bool ThreadEnd::hasCome() const
{
    const auto thread = reinterpret_cast<HANDLE>(m_thread);
    return thread == nullptr || GetThreadId(thread) == GetCurrentThreadId() ||
           WaitForSingleObject(thread, 0) == WAIT_OBJECT_0;
}

void nameCurrentThread(const std::string& name)
{
    using SetThreadDescription = HRESULT WINAPI(HANDLE thread, const wchar_t* description);
    // Windows 10 and later have it.
    static auto* const setThreadDescription =
        find<SetThreadDescription>(L"kernel32.dll", "SetThreadDescription");
    if (setThreadDescription != nullptr)
        setThreadDescription(GetCurrentThread(), boost::nowide::widen(name).c_str());
}

int currentCore()
{
    return static_cast<int>(GetCurrentProcessorNumber());
}

} // namespace Brennic::Core
