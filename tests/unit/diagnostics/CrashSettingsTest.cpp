#include <brn_mesh_kernel/diagnostics/CrashSettings.h>

#include <functional>
#include <memory>

#include <gtest/gtest.h>

using namespace Brennic::Core;

namespace {

// Settings with a handler that keeps the object.
CrashSettings settingsWith(const std::shared_ptr<int>& object)
{
    CrashSettings settings;
    settings.dumpFilePath = L"a.dmp";
    settings.sendCrashDump = std::make_shared<const std::function<bool(const wchar_t*)>>(
        [object](const wchar_t*) { return *object == 0; });
    return settings;
}

} // namespace

TEST(CrashSettings, areEmptyAtFirst)
{
    EXPECT_EQ(crashSettings().dumpFilePath, L"");
    EXPECT_EQ(crashSettings().commandLogPath, L"");
    EXPECT_FALSE(static_cast<bool>(crashSettings().sendCrashDump));
}

TEST(CrashSettings, areWhatWasPublishedLast)
{
    CrashSettings settings;
    settings.dumpFilePath = L"a.dmp";
    publishCrashSettings(settings);
    settings.dumpFilePath = L"b.dmp";
    publishCrashSettings(settings);
    EXPECT_EQ(crashSettings().dumpFilePath, L"b.dmp");
}

TEST(CrashSettings, letGoOfAHandlerThatIsReplaced)
{
    const auto object = std::make_shared<int>(0);
    publishCrashSettings(settingsWith(object));
    EXPECT_GT(object.use_count(), 1);
    publishCrashSettings({});
    EXPECT_EQ(object.use_count(), 1);
}

TEST(CrashSettings, stayWholeForTheCrashThatReadsThem)
{
    const auto object = std::make_shared<int>(0);
    publishCrashSettings(settingsWith(object));
    // A process that crashes frees nothing any more; this one goes on.
    const std::unique_ptr<const CrashSettings> kept(&keepCrashSettings());
    publishCrashSettings({});
    EXPECT_EQ(kept->dumpFilePath, L"a.dmp");
    EXPECT_TRUE((*kept->sendCrashDump)(L""));
    EXPECT_EQ(object.use_count(), 2);
}
