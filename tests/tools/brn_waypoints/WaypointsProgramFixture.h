#pragma once
/// \file
/// Runs the program on a small report, in a directory of its own.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"
#include "tools/brn_waypoints/ReportsFixture.h"

class WaypointsProgramTest : public ::testing::Test
{
protected:
    WaypointsProgramTest()
    {
        Brennic::Testing::writeFile(directory / "run.xml", Brennic::Testing::exampleReport());
    }

    Brennic::Testing::ProgramResult run(const std::vector<std::string>& arguments)
    {
        return Brennic::Testing::runProgram(BRN_WAYPOINTS_PATH, arguments, directory.path());
    }

    void expectFailure(const std::vector<std::string>& arguments, const std::string& message)
    {
        const Brennic::Testing::ProgramResult result = run(arguments);
        EXPECT_TRUE(result.hasExited);
        EXPECT_EQ(result.exitCode, 1) << message;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(Brennic::Testing::splitLines(result.err),
                    ::testing::ElementsAre("brn_waypoints: " + message));
    }

    std::vector<std::string> fileNames() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            names.push_back(entry.path().filename().u8string());
        std::sort(names.begin(), names.end());
        return names;
    }

    Brennic::Testing::TemporaryDirectory directory;
};
