#pragma once
/// \file
/// A test that uses the process's kernel, with a directory of its own and its output caught.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/logger.h>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

#include "support/CapturedDebugger.h"
#include "support/CapturedOutput.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

namespace Brennic::Testing {

class KernelFixture : public ::testing::Test
{
protected:
    ~KernelFixture() override
    {
        log4cplus::Logger::getRoot().removeAllAppenders(); // Windows removes no file that one has open
    }

    /// Layout of the message and nothing else, so that lines can be written out in full.
    void initializeWithPlainLines(const std::string& logFile = "host.log")
    {
        kernel.SetLogMessageFormat(L"%m%n");
        kernel.SetLogFilePath(wide(directory / logFile).c_str());
        kernel.Initialize();
    }

    std::vector<std::string> logLines() const { return readLines(directory / "host.log"); }
    Core::ILogger& logger() const { return *kernel.Logger(); }

    Core::Kernel& kernel = Core::Kernel::Instance();
    TemporaryDirectory directory;
    CapturedOutput console{Descriptor::standardOutput};
    CapturedDebugger debugger;
};

} // namespace Brennic::Testing
