#include <brn_mesh_common/Util.h>

#include <gtest/gtest.h>

using namespace Brennic;
using namespace Brennic::Objects;

TEST(Util, versionTextsAreUnknownUntilTheHostRegistersThem)
{
    Util::VersionInfo info;
    info.fileVersion = L"untouched";
    EXPECT_EQ(Util::QueryVersionInfo(info), Core::Failure);
    EXPECT_EQ(info.fileVersion, L"untouched");
}

TEST(Util, registeredVersionTextsAreReturned)
{
    const Util::VersionInfo registered{L"company", L"file", L"1.2", L"product", L"3.4"};
    ASSERT_EQ(Util::RegisterVersionInfo(registered), Core::Success);
    Util::VersionInfo info;
    ASSERT_EQ(Util::QueryVersionInfo(info), Core::Success);
    EXPECT_EQ(info.companyName, L"company");
    EXPECT_EQ(info.fileDescription, L"file");
    EXPECT_EQ(info.fileVersion, L"1.2");
    EXPECT_EQ(info.productDescription, L"product");
    EXPECT_EQ(info.productVersion, L"3.4");
}

TEST(Util, theFirstRegistrationOfVersionTextsStands)
{
    ASSERT_EQ(Util::RegisterVersionInfo({L"", L"", L"", L"", L"first"}), Core::Success);
    EXPECT_EQ(Util::RegisterVersionInfo({L"", L"", L"", L"", L"second"}), Core::Failure);
    Util::VersionInfo info;
    ASSERT_EQ(Util::QueryVersionInfo(info), Core::Success);
    EXPECT_EQ(info.productVersion, L"first");
}

TEST(Util, theProcessNameIsTheExecutablesFileName)
{
    EXPECT_EQ(Util::GetCurrentProcessName(), L"common_unit_test");
}

TEST(Util, textConvertsToUtf8)
{
    EXPECT_EQ(Util::ConvertToChar(L"Gr\u00fc\u00dfe \u20ac \U0001F600"), "Gr\xC3\xBC\xC3\x9F"
                                                                         "e \xE2\x82\xAC \xF0\x9F\x98\x80");
}

TEST(Util, whatIsNoCharacterConvertsToTheReplacementCharacter)
{
    const auto noCharacter = static_cast<wchar_t>(sizeof(wchar_t) == 2 ? 0xDFFF : 0x110000);
    const std::wstring text{L'a', static_cast<wchar_t>(0xD800), L'b', noCharacter, L'c'};
    EXPECT_EQ(Util::ConvertToChar(text), "a\xEF\xBF\xBD"
                                         "b\xEF\xBF\xBD"
                                         "c");
}

TEST(Util, embeddedNulCharactersSurviveTheConversion)
{
    EXPECT_EQ(Util::ConvertToChar(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
}
