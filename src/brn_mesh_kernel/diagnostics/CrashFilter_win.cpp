#include <brn_mesh_kernel/diagnostics/CrashFilter.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/diagnostics/CrashSteps_win.h>

namespace Brennic::Core {

namespace {

// What the compiler throws C++ exceptions as.
constexpr DWORD cppException = 0x20474343;
// What the system ends a process with for which the C library has been given an invalid parameter.
constexpr DWORD invalidParameter = 0xC0000417;

// The thread that handles the crash; 0: none so far.
std::atomic<DWORD> g_owner{0};
// Whether its steps have been taken, and what follows is the system's.
std::atomic<bool> g_isHandled{false};

// Whether the calling thread is the first to crash. Does not return if its own handling has crashed, or another's crash is
// being handled.
void claimCrash()
{
    const DWORD self = GetCurrentThreadId();
    DWORD owner = 0;
    if (g_owner.compare_exchange_strong(owner, self))
        return;
    if (CrashSteps::instance().isOnOwnThread())
        CrashSteps::instance().giveUpStep();
    if (owner == self)
        TerminateProcess(GetCurrentProcess(), 1);
    for (;;)
        Sleep(INFINITE);
}

LONG WINAPI onUnhandledException(EXCEPTION_POINTERS* exception)
{
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    const bool mayContinue = (exception->ExceptionRecord->ExceptionFlags & EXCEPTION_NONCONTINUABLE) == 0;
    // The throw then returns, and calls std::terminate, which is where hosts expect to hear of it.
    if (code == cppException && mayContinue)
        return EXCEPTION_CONTINUE_EXECUTION;
    if (g_isHandled && g_owner == GetCurrentThreadId())
        return EXCEPTION_CONTINUE_SEARCH;
    claimCrash();
    CrashSteps::instance().run(exception, true);
    g_isHandled = true;
    return EXCEPTION_CONTINUE_SEARCH;
}

// Only for the one exception that no filter is called for, as the thread has no stack left for it.
LONG WINAPI onStackOverflow(EXCEPTION_POINTERS* exception)
{
    if (exception->ExceptionRecord->ExceptionCode != EXCEPTION_STACK_OVERFLOW)
        return EXCEPTION_CONTINUE_SEARCH;
    claimCrash();
    CrashSteps::instance().run(exception, false);
    g_isHandled = true;
    return EXCEPTION_CONTINUE_SEARCH;
}

// For what the C library ends the process for without an exception.
void handleAsException(DWORD code)
{
    CONTEXT context{};
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record{};
    record.ExceptionCode = code;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = reinterpret_cast<void*>(context.Rip);
    EXCEPTION_POINTERS exception{&record, &context};
    onUnhandledException(&exception);
}

// From abort(), hence also from std::terminate() and a pure call. When it returns, abort() ends the process.
void onAbort(int /*signal*/)
{
    handleAsException(static_cast<DWORD>(STATUS_FATAL_APP_EXIT));
}

void onInvalidParameter(const wchar_t* /*expression*/, const wchar_t* /*function*/, const wchar_t* /*file*/,
                        unsigned /*line*/, std::uintptr_t /*reserved*/)
{
    handleAsException(invalidParameter);
    TerminateProcess(GetCurrentProcess(), invalidParameter);
}

void guardMainThread()
{
    static const auto* const stack = new CrashStack;
    static_cast<void>(stack);
}

void handleStackOverflow()
{
    static void* const registration = AddVectoredExceptionHandler(TRUE, onStackOverflow);
    static_cast<void>(registration);
}

// The handlers stay for good, so their code has to.
void keepLibraryLoaded()
{
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const wchar_t*>(&onUnhandledException), &pinned);
}

} // namespace

void CrashFilter::install()
{
    guardMainThread();
    CrashSteps::instance().prepare();
    keepLibraryLoaded();
    SetUnhandledExceptionFilter(onUnhandledException);
    handleStackOverflow();
    std::signal(SIGABRT, onAbort);
    _set_invalid_parameter_handler(onInvalidParameter);
}

} // namespace Brennic::Core
