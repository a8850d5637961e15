#pragma once
/// \file
/// Runs the program on a small mesh, in a directory of its own.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"

class MeshSmootherTest : public ::testing::Test
{
protected:
    MeshSmootherTest()
    {
        Brennic::Testing::writeFile(directory / "mesh.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                                                            "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    }

    Brennic::Testing::ProgramResult run(const std::vector<std::string>& arguments)
    {
        return Brennic::Testing::runProgram(MESH_SMOOTHER_PATH, arguments, directory.path());
    }

    std::vector<std::string> fileNames() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            names.push_back(entry.path().filename().u8string());
        std::sort(names.begin(), names.end());
        return names;
    }

    void expectOneLineAndFailure(const Brennic::Testing::ProgramResult& result, const std::string& text)
    {
        EXPECT_TRUE(result.hasExited);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(Brennic::Testing::splitLines(result.err),
                    ::testing::ElementsAre(::testing::HasSubstr(text)));
    }

    void expectCrashIsTold(const std::string& kind)
    {
        using ::testing::HasSubstr;
        const Brennic::Testing::ProgramResult result = run({"mesh.obj", "--crash", kind});
        const std::filesystem::path dump = directory / "mesh_smoother.dmp";
        const std::filesystem::path commandLog = directory / "mesh_smoother_command_log.xml";
        EXPECT_TRUE(result.hasExited) << kind;
        EXPECT_EQ(result.exitCode, 1) << kind;
        EXPECT_THAT(result.err, HasSubstr("Dump: mesh_smoother.dmp")) << kind;
        EXPECT_THAT(result.err, HasSubstr("command log: mesh_smoother_command_log.xml")) << kind;
        EXPECT_EQ(Brennic::Testing::readFile(dump).substr(0, 4), "MDMP") << kind;
        EXPECT_THAT(Brennic::Testing::readFile(commandLog), HasSubstr("name=\"Load\"")) << kind;
        EXPECT_FALSE(std::filesystem::exists(directory / "mesh_smoothed.obj"));
        std::filesystem::remove(dump);
        std::filesystem::remove(commandLog);
    }

    Brennic::Testing::TemporaryDirectory directory;
};
