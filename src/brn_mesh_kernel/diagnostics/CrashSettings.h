#pragma once
/// \file
/// Internal, not installed. Where the files of a crash are written, and the host's crash handler.
///
/// One set of settings per process, because there is one crash filter. The filter cannot take a lock to read
/// them, so a published set is immutable and a change publishes a new one. Replaced sets are freed, except
/// once a crash is being handled: the filter may be reading them.

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
