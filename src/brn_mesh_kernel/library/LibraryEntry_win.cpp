#include <brn_mesh_kernel/library/LibraryEntry.h>

#include <initializer_list>

#include <windows.h>

namespace {

template <typename Function>
Function* find(const wchar_t* library, const char* name)
{
    const HMODULE module = GetModuleHandleW(library);
    if (module == nullptr)
        return nullptr;
    const auto function = reinterpret_cast<void*>(GetProcAddress(module, name));
    return reinterpret_cast<Function*>(function);
}

// The workers run the library's code, and FreeLibrary() must not take it away from under them. Joining them
// before it does is no way out, since they need the loader's lock to end, which whoever unloads holds.
// Hence detaching happens once, when the process ends.
void stayInMemory(HINSTANCE library)
{
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const wchar_t*>(library), &pinned);
}

} // namespace

namespace Brennic::Core {

bool isForkedChild()
{
    return false; // there is no fork
}

// std::atexit() is no help in a library: what it takes is called when the library is detached, and by then the
// system has ended all other threads. What goes straight into the C library's own list, exit() calls.
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

} // namespace Brennic::Core

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void* /*reserved*/)
{
    if (reason == DLL_PROCESS_ATTACH) {
        stayInMemory(library);
        Brennic::Core::libraryAttached();
    } else if (reason == DLL_PROCESS_DETACH) {
        Brennic::Core::libraryLeftAlone();
    }
    return TRUE;
}
