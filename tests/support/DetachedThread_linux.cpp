#include "support/DetachedThread.h"

#include <thread>
#include <utility>

void Brennic::Testing::runDetached(std::function<void()> function)
{
    std::thread(std::move(function)).detach();
}
