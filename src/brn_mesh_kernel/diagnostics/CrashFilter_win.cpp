#include <brn_mesh_kernel/diagnostics/CrashFilter.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/diagnostics/CrashSteps_win.h>

namespace Brennic::Core {

namespace {

// The code of C++ exceptions as MinGW's compiler throws them.
constexpr DWORD cppException = 0x20474343;
// The code with which the system ends a process that has passed an invalid parameter to the C library.
constexpr DWORD invalidParameter = 0xC0000417;

// The thread that handles the crash; 0: none so far.
std::atomic<DWORD> g_owner{0};
// Whether all steps have been taken: the rest is the system's own handling.
std::atomic<bool> g_isHandled{false};

// Returns if the calling thread is the first to crash. Otherwise does not: a step of its handling has
// crashed, or another thread's crash is being handled.
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

// The system calls this on the crashing thread once nobody has handled the exception. To search on is to
// leave the rest to the system: its error reports, a debugger, and the exception's code as the exit code.
LONG WINAPI onUnhandledException(EXCEPTION_POINTERS* exception)
{
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    const bool mayContinue = (exception->ExceptionRecord->ExceptionFlags & EXCEPTION_NONCONTINUABLE) == 0;
    // The throw then returns and calls std::terminate(), which hosts may have a handler for.
    if (code == cppException && mayContinue)
        return EXCEPTION_CONTINUE_EXECUTION;
    if (g_isHandled && g_owner == GetCurrentThreadId())
        return EXCEPTION_CONTINUE_SEARCH;
    claimCrash();
    CrashSteps::instance().run(exception, true);
    g_isHandled = true;
    return EXCEPTION_CONTINUE_SEARCH;
}

// Whether the thread has enough stack left for the system's own handling of the crash. Without it the system
// ends only the thread, and the process hangs.
bool hasStackForSystem()
{
    constexpr ULONG_PTR need = 32UL * 1024;
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    return reinterpret_cast<ULONG_PTR>(&low) - low >= need;
}

// A vectored handler, because the system calls no filter after a stack overflow. It ignores all other
// exceptions.
LONG WINAPI onStackOverflow(EXCEPTION_POINTERS* exception)
{
    if (exception->ExceptionRecord->ExceptionCode != EXCEPTION_STACK_OVERFLOW)
        return EXCEPTION_CONTINUE_SEARCH;
    claimCrash();
    CrashSteps::instance().run(exception, false);
    g_isHandled = true;
    if (!hasStackForSystem())
        TerminateProcess(GetCurrentProcess(), EXCEPTION_STACK_OVERFLOW);
    return EXCEPTION_CONTINUE_SEARCH;
}

// The C library ends the process for some errors without an exception. This makes one, so that the dump has
// registers.
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

using SignalFunction = void (*(*)(int signal, void (*handler)(int)))(int);

// The C libraries that a process may hold: the one of this library and the host's need not be the same.
constexpr std::array<const wchar_t*, 3> cLibraries = {L"msvcrt.dll", L"ucrtbase.dll", L"ucrtbased.dll"};
std::array<SignalFunction, cLibraries.size()> g_signalFunctions{};

void onAbort(int signal);

void handleAbort()
{
    for (const SignalFunction setHandler : g_signalFunctions) {
        if (setHandler != nullptr)
            setHandler(SIGABRT, onAbort);
    }
}

// From abort(), hence also from std::terminate(). When it returns, abort() ends the process.
void onAbort(int /*signal*/)
{
    handleAbort(); // signal() has reset the action, and the host's handler may call abort() too
    handleAsException(static_cast<DWORD>(STATUS_FATAL_APP_EXIT));
}

void onPureCall()
{
    std::abort(); // which raises SIGABRT, and so is handled
}

void onInvalidParameter(const wchar_t* /*expression*/, const wchar_t* /*function*/, const wchar_t* /*file*/,
                        unsigned /*line*/, std::uintptr_t /*reserved*/)
{
    handleAsException(invalidParameter);
    TerminateProcess(GetCurrentProcess(), invalidParameter);
}

// The function of a library, or null if there is no such library or it has no such function.
template <typename Function>
Function findFunction(const wchar_t* library, const char* name)
{
    const HMODULE module = GetModuleHandleW(library);
    return module != nullptr
               ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)))
               : nullptr;
}

void handleEndsByCLibrary(const wchar_t* library)
{
    const auto setInvalidParameterHandler =
        findFunction<decltype(&_set_invalid_parameter_handler)>(library, "_set_invalid_parameter_handler");
    if (setInvalidParameterHandler != nullptr)
        setInvalidParameterHandler(onInvalidParameter);
    const auto setPureCallHandler =
        findFunction<decltype(&_set_purecall_handler)>(library, "_set_purecall_handler");
    if (setPureCallHandler != nullptr)
        setPureCallHandler(onPureCall);
}

void handleEndsByCLibraries()
{
    for (std::size_t i = 0; i != cLibraries.size(); ++i) {
        g_signalFunctions[i] = findFunction<SignalFunction>(cLibraries[i], "signal");
        handleEndsByCLibrary(cLibraries[i]);
    }
    handleAbort();
}

// Never destroyed: the main thread may crash after its static objects are gone.
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

// The handlers stay installed, so their code must stay mapped.
void keepLibraryLoaded()
{
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const wchar_t*>(&onUnhandledException), &pinned);
}

} // namespace

void CrashFilter::install(ReportWriter writeReport)
{
    guardMainThread();
    CrashSteps::instance().prepare(writeReport);
    keepLibraryLoaded();
    SetUnhandledExceptionFilter(onUnhandledException);
    handleStackOverflow();
    handleEndsByCLibraries();
}

} // namespace Brennic::Core
