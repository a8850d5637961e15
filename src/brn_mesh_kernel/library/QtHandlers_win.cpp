#include <brn_mesh_kernel/library/QtHandlers.h>

#include <cwchar>
#include <exception>

#include <windows.h>

#include <QCoreApplication>

namespace {

bool isCppException(const EXCEPTION_RECORD& record)
{
    constexpr DWORD gnu = 0x20474343;
    constexpr DWORD microsoft = 0xE06D7363;
    return record.ExceptionCode == gnu || record.ExceptionCode == microsoft;
}

// Whether the application object is of one of Qt's classes, whose notify() catches nothing. We cannot ask which
// types a notify() of the host catches: the system's unwinder has no search without unwinding.
bool isApplicationOfQt()
{
    const QCoreApplication* const application = QCoreApplication::instance();
    if (application == nullptr)
        return true;
    // The object's table of virtual functions lies in the module that defines its class.
    const void* const table = *reinterpret_cast<void* const*>(application);
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<const wchar_t*>(table), &module);
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(module, path, MAX_PATH);
    const wchar_t* const separator = std::wcsrchr(path, L'\\');
    const wchar_t* const name = separator != nullptr ? separator + 1 : path;
    return std::wcsncmp(name, L"Qt", 2) == 0;
}

} // namespace

#ifdef __GNUC__

// Called while the system searches for a handler, on the stack of the throwing thread, which is still intact.
extern "C" EXCEPTION_DISPOSITION brnQtHandlersHandler(EXCEPTION_RECORD* record, void*, CONTEXT*, void*)
{
    const bool isBeingUnwound = (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) != 0;
    if (!isBeingUnwound && isCppException(*record) && isApplicationOfQt())
        std::terminate();
    return ExceptionContinueSearch;
}

namespace Brennic::Core {

void callIgnoringQtHandlers(void (*function)(void*), void* argument)
{
    asm volatile(".seh_handler brnQtHandlersHandler, @except");
    function(argument);
    asm volatile("nop"); // the return address belongs to this function, and the call is none at its tail
}

} // namespace Brennic::Core

#else

namespace Brennic::Core {

void callIgnoringQtHandlers(void (*function)(void*), void* argument)
{
    const auto terminate = [](const EXCEPTION_POINTERS* exception) {
        if (isCppException(*exception->ExceptionRecord) && isApplicationOfQt())
            std::terminate();
        return EXCEPTION_CONTINUE_SEARCH;
    };
    __try {
        function(argument);
    } __except (terminate(GetExceptionInformation())) {
    }
}

} // namespace Brennic::Core

#endif
