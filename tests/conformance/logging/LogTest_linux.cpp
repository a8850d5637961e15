#include <brn_mesh_kernel/logging/Log.h>

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/KernelFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::ElementsAre;

namespace {

// What records make of text that other systems' wide text and paths cannot hold.
class LogBadTextTest : public KernelFixture
{
};

constexpr const char* replacement = "\xEF\xBF\xBD";

} // namespace

TEST_F(LogBadTextTest, wideTextAboveTheLastCharacterGetsAReplacement)
{
    initializeWithPlainLines();
    const std::wstring text{L'<', static_cast<wchar_t>(0x110000), L'>'};
    BRN_LOG(Info, "{}", text);
    EXPECT_THAT(logLines(), ElementsAre('<' + std::string(replacement) + '>'));
}

TEST_F(LogBadTextTest, bytesOfAPathThatAreNoUnicodeKeepTheRecord)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "cannot open {}", std::filesystem::path("mesh\xFF.obj"));
    EXPECT_THAT(logLines(), ElementsAre("cannot open mesh" + std::string(replacement) + ".obj"));
}
