#include <brn_mesh_kernel/diagnostics/OutermostCall.h>

#include <exception>

#include <windows.h>

namespace {

bool isCppException(const EXCEPTION_RECORD& record)
{
    constexpr DWORD gnu = 0x20474343;
    constexpr DWORD microsoft = 0xE06D7363;
    return record.ExceptionCode == gnu || record.ExceptionCode == microsoft;
}

} // namespace

#ifdef __GNUC__

// Called for an exception that nobody has caught so far, on top of the stack of the thread that threw it.
extern "C" EXCEPTION_DISPOSITION brnOutermostHandler(EXCEPTION_RECORD* record, void*, CONTEXT*, void*)
{
    const bool isBeingUnwound = (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) != 0;
    if (!isBeingUnwound && isCppException(*record))
        std::terminate();
    return ExceptionContinueSearch;
}

namespace Brennic::Core {

void callOutermost(void (*function)(void*), void* argument)
{
    asm volatile(".seh_handler brnOutermostHandler, @except");
    function(argument);
    asm volatile("nop"); // the return address belongs to this function, and the call is none at its tail
}

} // namespace Brennic::Core

#else

namespace Brennic::Core {

void callOutermost(void (*function)(void*), void* argument)
{
    const auto terminate = [](const EXCEPTION_POINTERS* exception) {
        if (isCppException(*exception->ExceptionRecord))
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
