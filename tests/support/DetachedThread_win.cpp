#include "support/DetachedThread.h"

#include <thread>
#include <utility>

// Never destroyed instead of detached: winpthreads loses a thread that is detached while it begins.
void Brennic::Testing::runDetached(std::function<void()> function)
{
    static_cast<void>(new std::thread(std::move(function)));
}
