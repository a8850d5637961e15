#include "crash/child/Situations.h"

#include <functional>
#include <future>
#include <map>
#include <thread>

#include <windows.h>

namespace Brennic::Testing {

namespace {

// Starts a thread and returns once it has prepared what it holds for ever.
template <typename Function>
void startIdleThread(Function prepare)
{
    std::promise<void> isReady;
    std::thread([&isReady, prepare] {
        prepare();
        isReady.set_value();
        for (;;)
            Sleep(INFINITE);
    }).detach();
    isReady.get_future().wait();
}

void startIdleThreads(int count)
{
    for (int i = 0; i != count; ++i)
        startIdleThread([] {});
}

void startSpinningThread()
{
    std::thread([] {
        for (volatile unsigned rounds = 0;;)
            rounds = rounds + 1;
    }).detach();
}

// No heap is to be had any more, as when a thread was stopped within it.
void holdHeapLock()
{
    startIdleThread([] { HeapLock(GetProcessHeap()); });
}

using Enter = std::function<void(const std::filesystem::path& directory)>;

const std::map<std::string, Enter>& situations()
{
    static const std::map<std::string, Enter> table{
        {"other-c-library", [](const auto&) { LoadLibraryW(L"ucrtbase.dll"); }},
        {"64-threads", [](const auto&) { startIdleThreads(64); }},
        {"spinning-thread", [](const auto&) { startSpinningThread(); }},
        {"heap-lock-held", [](const auto&) { holdHeapLock(); }},
        {"blocked-name",
         [](const auto& directory) { std::filesystem::create_directory(directory / "crash_child.dmp"); }},
    };
    return table;
}

} // namespace

bool enterSituation(const std::string& name, const std::filesystem::path& directory)
{
    const auto found = situations().find(name);
    if (found == situations().end())
        return false;
    found->second(directory);
    return true;
}

} // namespace Brennic::Testing
