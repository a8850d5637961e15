#include <brn_mesh_kernel/progress/ConsoleProgress.h>

#include <chrono>
#include <memory>
#include <optional>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

#include "conformance/progress/RecordingReceiver.h"
#include "support/CapturedOutput.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

// The standard output is a file.
class ConsoleProgressTest : public TaskFixture
{
protected:
    CapturedOutput console{Descriptor::standardOutput};
    std::shared_ptr<Progress> root = std::make_shared<Progress>(10, L"Smooth");
};

} // namespace

TEST_F(ConsoleProgressTest, nothingIsPrintedWhereThereIsNoTerminal)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(350);
    ConsoleProgress line(root);
    EXPECT_FALSE(line.isLive());
    EXPECT_TRUE(serveUntil([&] { return ++*root >= 10 && std::chrono::steady_clock::now() > end; }));
    line.finish();
    EXPECT_EQ(console.text(), "");
}

TEST_F(ConsoleProgressTest, itIsTheDelegateUntilItsEnd)
{
    const auto former = std::make_shared<RecordingReceiver>();
    root->setDelegate(former, false);
    {
        const ConsoleProgress line(root);
        EXPECT_NE(root->getDelegate(), nullptr);
        ++*root;
    }
    EXPECT_EQ(root->getDelegate(), nullptr);
    EXPECT_TRUE(former->messages().empty());
}

TEST_F(ConsoleProgressTest, aDelegateThatCameLaterStays)
{
    const auto later = std::make_shared<RecordingReceiver>();
    {
        const ConsoleProgress line(root);
        root->setDelegate(later, false);
    }
    EXPECT_EQ(root->getDelegate(), later.get());
}

TEST_F(ConsoleProgressTest, itSharesTheProgressUntilItIsFinished)
{
    const std::weak_ptr<Progress> watched = root;
    ConsoleProgress line(root);
    root.reset();
    EXPECT_FALSE(watched.expired());
    line.finish();
    EXPECT_TRUE(watched.expired());
    line.finish();
}

TEST_F(ConsoleProgressTest, anEmptyPointerIsTaken)
{
    ConsoleProgress line(nullptr);
    line.finish();
    EXPECT_EQ(console.text(), "");
}

TEST_F(ConsoleProgressTest, reportsAfterTheEndGoNowhere)
{
    std::optional<ConsoleProgress> line(root);
    runAside([&] { ++*root; });
    line.reset();
    runAside([&] { ++*root; });
    QCoreApplication::processEvents();
    EXPECT_EQ(console.text(), "");
}

TEST_F(ConsoleProgressTest, aPauseNeedsNoLineAndNests)
{
    const ConsoleProgress::Pause outer;
    const ConsoleProgress::Pause inner;
    EXPECT_EQ(console.text(), "");
}
