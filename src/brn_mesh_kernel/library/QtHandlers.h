#pragma once
/// \file
/// Makes an exception that only Qt would catch end the process where it was thrown. Not installed.

namespace Brennic::Core {

/// Calls \p function. What it throws reaches handlers of the host further up the stack, such as one in the host's
/// `QCoreApplication::notify`; handlers of Qt do not count.
///
/// If only Qt would catch the exception, as the function of a `QThread` does with everything, `std::terminate` is
/// called at the place of the throw, before anything is destroyed: a dump shows the whole stack. A function that is
/// noexcept would not do, since the stack is unwound up to it first.
void callIgnoringQtHandlers(void (*function)(void*), void* argument);

} // namespace Brennic::Core
