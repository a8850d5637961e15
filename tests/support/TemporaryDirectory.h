#pragma once
/// \file
/// A directory of a test's own, removed with everything in it when the test ends.

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace Brennic::Testing {

class TemporaryDirectory
{
public:
    /// Names are UTF-8.
    /// \param suffix ends the directory's name, for tests of unusual names.
    explicit TemporaryDirectory(const std::string& suffix = {}) : m_path(uniquePath(suffix))
    {
        std::filesystem::create_directories(m_path);
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::filesystem::path path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const
    {
        return m_path / std::filesystem::u8path(name);
    }

private:
    static std::filesystem::path uniquePath(const std::string& suffix)
    {
        std::random_device random; // tests run beside each other in processes of their own
        const std::string name = "brn_" + std::to_string(random()) + '_' + std::to_string(random()) + suffix;
        return std::filesystem::temp_directory_path() / std::filesystem::u8path(name);
    }

    std::filesystem::path m_path;
};

} // namespace Brennic::Testing
