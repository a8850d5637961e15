#include <brn_mesh_kernel/kernel/LibraryEntry.h>

#include <windows.h>

namespace {

// The workers run the library's code, so FreeLibrary() must not unmap it. We cannot join them there either: a
// thread needs the loader's lock to end, and the thread that unloads holds it. So detaching happens once, when
// the process ends.
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

} // namespace Brennic::Core

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void* /*reserved*/)
{
    if (reason == DLL_PROCESS_ATTACH) {
        stayInMemory(library);
        Brennic::Core::libraryAttached();
    } else if (reason == DLL_PROCESS_DETACH) {
        Brennic::Core::libraryDetachedAfterThreads();
    }
    return TRUE;
}
