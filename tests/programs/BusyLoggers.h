#pragma once
/// \file
/// For programs that tests run as child processes: threads that log until the process is gone.

#include <atomic>
#include <thread>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

#include "support/DetachedThread.h"

namespace Brennic::Testing {

inline void log(const wchar_t* text)
{
    Core::Kernel::Instance().Logger()->Log(Core::Info, L"%s", text);
}

/// How many records the threads have written.
inline std::atomic<int> busyRecords{0};

/// Returns once the threads are at work.
inline void startLoggers()
{
    constexpr int threadCount = 4;
    for (int i = 0; i < threadCount; ++i)
        runDetached([] {
            for (;;) {
                log(L"busy");
                ++busyRecords;
            }
        });
    while (busyRecords < 100)
        std::this_thread::yield();
}

} // namespace Brennic::Testing
