#pragma once
/// \file
/// Writes mesh files and tells what loading them says.

#include <filesystem>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "MeshFile.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

class MeshFileFixture : public ::testing::Test
{
protected:
    std::filesystem::path write(const std::string& name, const std::string& bytes)
    {
        Brennic::Testing::writeFile(directory / name, bytes);
        return directory / name;
    }

    // What loading a file says is wrong with it; empty if nothing is.
    static std::string defectOf(const std::filesystem::path& path)
    {
        try {
            loadMesh(path);
            return {};
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    // What loading a file warns of; empty if of nothing.
    static std::string warningOf(const std::filesystem::path& path)
    {
        std::string warning = "unset";
        loadMesh(path, &warning);
        return warning;
    }

    Brennic::Testing::TemporaryDirectory directory;
};
