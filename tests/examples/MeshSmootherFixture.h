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

    Brennic::Testing::TemporaryDirectory directory;
};
