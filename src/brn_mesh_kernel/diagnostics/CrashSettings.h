#pragma once
/// \file
/// Internal, not installed. What is written where when the process crashes, and whom to tell.
///
/// One set of settings per process, because there is one crash filter. The filter reads them in a process in
/// which no lock can be taken: a published set never changes, a change publishes another one. Sets that are
/// replaced are freed, but not once a crash is under way, when the filter may be reading them.

#include <functional>
#include <memory>
#include <string>

namespace Brennic::Core {

struct CrashSettings
{
    std::wstring dumpFilePath; ///< empty: not set up
    std::wstring commandLogPath;
    /// The host's own, copied once: settings that change share it. Null if there is none.
    std::shared_ptr<const std::function<bool(const wchar_t*)>> sendCrashDump;
};

/// The current settings, until others are published. Thread: main thread.
const CrashSettings& crashSettings();

/// Publishes other settings. Thread: main thread.
void publishCrashSettings(CrashSettings settings);

/// The settings to handle a crash with; they live for ever. Thread: crashing thread; safe in a signal
/// handler.
const CrashSettings& keepCrashSettings();

} // namespace Brennic::Core
