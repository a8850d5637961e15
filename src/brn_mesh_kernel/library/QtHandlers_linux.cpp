#include <brn_mesh_kernel/library/QtHandlers.h>

#include <cstdint>

#include <cxxabi.h>
#include <dlfcn.h>
#include <unwind.h>

#include <QThread>

// What the C++ runtime asks of every frame that has handlers or clean-ups: whether it handles the exception.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the runtime names it so
extern "C" _Unwind_Reason_Code __gxx_personality_v0(int version, _Unwind_Action actions,
                                                    _Unwind_Exception_Class exceptionClass,
                                                    _Unwind_Exception* exception, _Unwind_Context* context);

namespace {

const void* moduleOf(const void* address)
{
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

struct Search
{
    _Unwind_Exception_Class exceptionClass;
    _Unwind_Exception* exception;
    _Unwind_Word start; // frames up to here have been asked
    const void* qt;
    bool isFound = false;
};

// Where a function that is noexcept would end the process, the runtime notes no landing pad. It keeps that two words
// before the part of the exception that is the unwinder's.
bool isCatch(_Unwind_Exception* exception)
{
    return reinterpret_cast<void* const*>(exception)[-2] != nullptr;
}

_Unwind_Reason_Code askFrame(_Unwind_Context* context, void* argument)
{
    Search& search = *static_cast<Search*>(argument);
    if (_Unwind_GetCFA(context) <= search.start || _Unwind_GetLanguageSpecificData(context) == nullptr)
        return _URC_NO_REASON;
    const auto address =
        reinterpret_cast<const void*>(_Unwind_GetIP(context)); // NOLINT(performance-no-int-to-ptr)
    if (moduleOf(address) == search.qt)
        return _URC_NO_REASON;
    const _Unwind_Reason_Code answer =
        __gxx_personality_v0(1, _UA_SEARCH_PHASE, search.exceptionClass, search.exception, context);
    search.isFound = answer == _URC_HANDLER_FOUND && isCatch(search.exception);
    return answer == _URC_HANDLER_FOUND ? _URC_NORMAL_STOP : _URC_NO_REASON;
}

} // namespace

// The runtime's question to the frame of brnCallIgnoringQtHandlers, which has no handlers and nothing to clean up. To
// end the search here lets the throw expression call std::terminate.
extern "C" [[gnu::visibility("hidden"), gnu::used]] _Unwind_Reason_Code
brnAskBeyondQt(int version, _Unwind_Action actions, _Unwind_Exception_Class exceptionClass,
               _Unwind_Exception* exception, _Unwind_Context* context)
{
    if (version != 1 || (actions & _UA_SEARCH_PHASE) == 0)
        return _URC_CONTINUE_UNWIND;
    const auto qtFunction = reinterpret_cast<const void*>(&QThread::currentThread);
    Search search{exceptionClass, exception, _Unwind_GetCFA(context), moduleOf(qtFunction)};
    _Unwind_Backtrace(&askFrame, &search);
    return search.isFound ? _URC_CONTINUE_UNWIND : _URC_END_OF_STACK;
}

// A frame of which the runtime asks the function above. 0x1b: the function is named relative to this place, in 32 bits.
asm(R"(
    .pushsection .text
    .hidden brnCallIgnoringQtHandlers
    .globl brnCallIgnoringQtHandlers
    .type brnCallIgnoringQtHandlers, @function
brnCallIgnoringQtHandlers:
    .cfi_startproc
    .cfi_personality 0x1b, brnAskBeyondQt
    pushq %rbp
    .cfi_def_cfa_offset 16
    .cfi_offset %rbp, -16
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    movq %rdi, %rax
    movq %rsi, %rdi
    call *%rax
    popq %rbp
    .cfi_def_cfa %rsp, 8
    ret
    .cfi_endproc
    .size brnCallIgnoringQtHandlers, .-brnCallIgnoringQtHandlers
    .popsection
)");
extern "C" void brnCallIgnoringQtHandlers(void (*function)(void*), void* argument);

namespace Brennic::Core {

void callIgnoringQtHandlers(void (*function)(void*), void* argument)
{
    brnCallIgnoringQtHandlers(function, argument);
}

} // namespace Brennic::Core
