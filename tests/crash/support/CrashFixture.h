#pragma once
/// \file
/// A test that lets the child program crash, in a directory of its own, and looks at what it left.

#include <csignal>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "crash/support/ChildProcess.h"
#include "crash/support/DumpReaders.h"
#include "crash/support/Minidump.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

namespace Brennic::Testing {

/// What a crash is allowed to take, in milliseconds: two seconds for the report and five for the dump.
constexpr int limitOfAllSteps = 7000;

/// The crash child is linked with the sanitizer that the libraries are built for, if any.
constexpr std::string_view sanitizer = BRN_SANITIZER_NAME;
constexpr bool isSanitized = !sanitizer.empty();

/// What a crash takes at most where nothing is in its way, in milliseconds.
constexpr int usualTime = 2000;

class CrashFixture : public ::testing::Test
{
protected:
    explicit CrashFixture(const std::string& hostDirectory = "host");

    /// Runs the child until it dies of \p kind. Its options are those that child/main.cpp lists.
    ProcessEnd crash(const std::string& kind, const std::vector<std::string>& options = {}) const;
    ChildProcess start(const std::string& kind, const std::vector<std::string>& options = {}) const;

    std::filesystem::path dump() const { return m_host / "crash_child.dmp"; }
    std::filesystem::path report() const { return m_host / "crash_child_command_log.xml"; }
    /// What the host's handler was given, or "not called".
    std::string handlersPath() const;
    /// The dumps in a directory, complete or not.
    static std::vector<std::filesystem::path> dumpsIn(const std::filesystem::path& directory);
    /// What somebody has begun to write in a directory.
    static std::vector<std::filesystem::path> unfinishedFilesIn(const std::filesystem::path& directory);
    /// The one dump among the temporary files.
    std::filesystem::path temporaryDump() const;

    /// Reads the dump with every reader, and expects signal and function in the crashing thread.
    static void expectGoodDump(const std::filesystem::path& dump, int signal, const std::string& function);
    void expectReport() const;

    TemporaryDirectory m_directory;
    std::filesystem::path m_host;
    std::filesystem::path m_temporary;
};

} // namespace Brennic::Testing
