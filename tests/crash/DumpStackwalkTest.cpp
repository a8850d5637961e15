#include <brn_mesh_common/WinUtil.h>

#include <gtest/gtest.h>

#include "crash/support/DumpReaders.h"
#include "crash/support/Minidump.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic;
using namespace Brennic::Testing;

TEST(DumpStackwalk, aThirdReaderFindsEveryThreadAndModule)
{
    if (!hasStackwalk())
        GTEST_SKIP() << "minidump_stackwalk is not installed: tools/crash-readers.sh does it, with npm";
    const TemporaryDirectory directory;
    const std::filesystem::path path = directory / "asked.dmp";
    ASSERT_TRUE(WinUtil::DumpMiniDump(nullptr, wide(path).c_str()));
    const Minidump dump(path);
    const ReaderOutput walk = readWithStackwalk(path);
    EXPECT_EQ(walk.exitCode, 0) << walk.err;
    EXPECT_EQ(countLines(walk.out, "Thread "), dump.threadIds().size());
    EXPECT_EQ(countLines(walk.out, " - 0x"), dump.modules().size());
}
