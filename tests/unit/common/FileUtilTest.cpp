#include <brn_mesh_common/FileUtil.h>

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

using namespace Brennic::Objects;

TEST(FileUtil, combineJoinsWithOneSeparator)
{
    const auto separator = static_cast<wchar_t>(std::filesystem::path::preferred_separator);
    EXPECT_EQ(FileUtil::Combine(L"/var/log", L"host.dmp"),
              std::wstring(L"/var/log") + separator + L"host.dmp");
}

TEST(FileUtil, combineAddsNoSecondSeparator)
{
    EXPECT_EQ(FileUtil::Combine(L"/var/log/", L"host.dmp"), L"/var/log/host.dmp");
    EXPECT_EQ(FileUtil::Combine(L"/", L"host.dmp"), L"/host.dmp");
}

TEST(FileUtil, combineOfAnEmptyDirectoryIsTheName)
{
    EXPECT_EQ(FileUtil::Combine(L"", L"host.dmp"), L"host.dmp");
}

TEST(FileUtil, theDirectoryPartHasNoSeparatorAtItsEnd)
{
    EXPECT_EQ(FileUtil::GetDirectoryPathFromFilePath(L"/var/log/host.log"), L"/var/log");
    EXPECT_EQ(FileUtil::GetDirectoryPathFromFilePath(L"logs//host.log"), L"logs");
}

TEST(FileUtil, aBareNameHasNoDirectoryPart)
{
    EXPECT_EQ(FileUtil::GetDirectoryPathFromFilePath(L"host.log"), L"");
    EXPECT_EQ(FileUtil::GetDirectoryPathFromFilePath(L""), L"");
}

TEST(FileUtil, theRootStaysTheRoot)
{
    EXPECT_EQ(FileUtil::GetDirectoryPathFromFilePath(L"/host.log"), L"/");
    EXPECT_EQ(FileUtil::GetDirectoryPathFromFilePath(L"//host.log"), L"/");
}

TEST(FileUtil, aDirectoryThatIsNoValidUnicodeIsKept)
{
    const std::wstring directory{L'/', static_cast<wchar_t>(0xD800), L'a'};
    EXPECT_EQ(FileUtil::GetDirectoryPathFromFilePath(FileUtil::Combine(directory, L"b")), directory);
}
