#pragma once

namespace Brennic::Core {

/// \brief Calls \p function as if nobody up the stack could catch what it throws.
/// \details A C++ exception that leaves \p function calls std::terminate at the place where it was thrown, before
/// anything is destroyed, so that a dump shows the whole stack. A function that is noexcept would not do: the
/// stack is unwound up to it first. And without either, the thread function of Qt catches everything.
void callOutermost(void (*function)(void*), void* argument);

} // namespace Brennic::Core
