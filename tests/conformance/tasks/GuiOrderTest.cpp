// From one posting thread, GUI tasks and queued events arrive in the order of posting.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <QEventLoop>
#include <QObject>
#include <QString>
#include <QTimer>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

#include "support/HostObjects.h"
#include "support/Sanitizers.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr int roundsThatCount = isSanitized ? 20 : 200;
constexpr int postsPerRound = isSanitized ? 300 : 3000;

// What takes longer is a flood, in which events may come before tasks.
constexpr milliseconds frame{8};

/// What arrives in the GUI thread from several threads, each of which posts numbers in turn. Its time begins when
/// the thread begins to serve events.
class Arrivals
{
public:
    explicit Arrivals(int posters) : m_numbers(static_cast<std::size_t>(posters)) {}

    void begin() { m_begin = steady_clock::now(); }

    void arrive(int poster, int number)
    {
        ++m_count;
        m_end = steady_clock::now();
        m_numbers[static_cast<std::size_t>(poster)].push_back(number);
    }

    int count() const { return m_count; }
    bool cameWithinAFrame() const { return m_end - m_begin <= frame; }
    bool areInOrder() const
    {
        return std::all_of(m_numbers.begin(), m_numbers.end(), [](const std::vector<int>& numbers) {
            return std::is_sorted(numbers.begin(), numbers.end());
        });
    }

private:
    std::vector<std::vector<int>> m_numbers;
    steady_clock::time_point m_begin;
    steady_clock::time_point m_end;
    int m_count = 0;
};

/// Posts something that calls \p arrive in the GUI thread.
using Post = std::function<void(const std::function<void()>& arrive)>;

class GuiOrder : public TaskFixture
{
protected:
    const Post asTask = [](const std::function<void()>& arrive) { dispatchAsync(arrive, eQOS_GUI); };
    const Post asEvent = [this](const std::function<void()>& arrive) {
        QMetaObject::invokeMethod(application.get(), arrive, Qt::QueuedConnection);
    };

    /// Has each of several threads post in turn by \p first and \p second.
    void postFrom(int posters, int posts, Arrivals& arrivals, const Post& first, const Post& second,
                  bool servesMeanwhile)
    {
        std::vector<std::thread> threads;
        for (int poster = 0; poster < posters; ++poster)
            threads.emplace_back([&, poster] {
                for (int i = 0; i < posts; ++i)
                    (i % 2 == 0 ? first : second)([&, poster, i] { arrivals.arrive(poster, i); });
            });
        const auto haveAllCome = [&] { return arrivals.count() == posters * posts; };
        arrivals.begin();
        if (servesMeanwhile) {
            EXPECT_TRUE(serveUntil(haveAllCome));
            for (std::thread& thread : threads)
                thread.join();
            return;
        }
        for (std::thread& thread : threads)
            thread.join();
        arrivals.begin();
        EXPECT_TRUE(serveUntil(haveAllCome));
    }

    /// Expects the order of posting, round after round. A round that takes longer than a frame does not count, and
    /// is followed by a smaller one.
    void expectOrder(int posters, int mostPosts, const Post& first, const Post& second, bool servesMeanwhile)
    {
        int counted = 0;
        int posts = mostPosts;
        for (int round = 0; round < 3 * roundsThatCount && counted < roundsThatCount; ++round) {
            Arrivals arrivals(posters);
            postFrom(posters, posts / posters, arrivals, first, second, servesMeanwhile);
            if (!arrivals.cameWithinAFrame()) {
                posts = std::max(posts * 3 / 4, 80);
                continue;
            }
            posts = std::min(posts * 5 / 4, mostPosts);
            ++counted;
            ASSERT_TRUE(arrivals.areInOrder()) << "round " << round << " of " << posts << " posts";
        }
        EXPECT_GE(counted, roundsThatCount / 10) << "the machine is too busy";
    }
};

/// A signal of Qt's own, by which a result is sent.
class ResultSender : public QObject
{
public:
    void send(int result) { setObjectName(QString::number(result)); }
};

class CompletionReceiver final : public ProgressReportingProtocol
{
public:
    explicit CompletionReceiver(std::vector<std::string>& messages) : m_messages(messages) {}
    void progressUpdated(Progress*, float, const std::wstring&) override { m_messages.emplace_back("step"); }
    void progressCompleted(Progress*, const std::wstring&) override { m_messages.emplace_back("completed"); }

private:
    std::vector<std::string>& m_messages;
};

} // namespace

TEST_F(GuiOrder, ofTasksAndEventsOfOneThreadIsThatOfPosting)
{
    expectOrder(1, postsPerRound, asTask, asEvent, false);
}

TEST_F(GuiOrder, isThatOfPostingWhileTheGuiThreadServes)
{
    expectOrder(1, postsPerRound / 10, asTask, asEvent, true);
}

TEST_F(GuiOrder, isThatOfPostingForEachOfFourThreads)
{
    expectOrder(4, postsPerRound, asTask, asEvent, false);
}

TEST_F(GuiOrder, isThatOfPostingForEachOfFourThreadsWhileTheGuiThreadServes)
{
    expectOrder(4, postsPerRound / 10, asTask, asEvent, true);
}

TEST_F(GuiOrder, ofQueuedEventsAloneIsThatOfPosting)
{
    expectOrder(4, postsPerRound, asEvent, asEvent, false);
}

TEST_F(GuiOrder, ofTasksAloneIsThatOfPosting)
{
    expectOrder(4, postsPerRound, asTask, asTask, false);
}

TEST_F(GuiOrder, isThatOfPostingInsideATaskThatServesEvents)
{
    Arrivals arrivals(1);
    constexpr int posts = 200;
    std::thread([&] {
        dispatchAsync([&] { EXPECT_TRUE(serveUntil([&] { return arrivals.count() == posts; })); }, eQOS_GUI);
        for (int i = 0; i < posts; ++i)
            (i % 2 == 0 ? asTask : asEvent)([&, i] { arrivals.arrive(0, i); });
    }).join();
    EXPECT_TRUE(serveUntil([&] { return arrivals.count() == posts; }));
    EXPECT_TRUE(arrivals.areInOrder());
}

TEST_F(GuiOrder, aResultThatWasSentBeforeComesBeforeTheCompletion)
{
    for (int round = 0; round < 100; ++round) {
        std::vector<std::string> messages;
        const auto receiver = std::make_shared<CompletionReceiver>(messages);
        std::thread([&] {
            ResultSender sender;
            QObject::connect(
                &sender, &QObject::objectNameChanged, application.get(),
                [&](const QString&) { messages.emplace_back("result"); }, Qt::QueuedConnection);
            Progress progress(2);
            progress.setDelegate(receiver, true);
            ++progress;
            sender.send(round);
            ++progress;
        }).join();
        ASSERT_TRUE(serveUntil([&] { return messages.size() == 3; }));
        ASSERT_EQ(messages, (std::vector<std::string>{"step", "result", "completed"}));
    }
}

// Tasks may take nine milliseconds of a pass, also if the pass before has left nothing to run.
TEST_F(GuiOrder, isThatOfPostingInAPassThatFollowsAShortOneLater)
{
    std::vector<int> order;
    bool isInTime = false;
    for (int attempt = 0; attempt < 1000 && !isInTime; ++attempt) {
        bool isServed = false;
        std::thread([&] { asTask([&] { isServed = true; }); }).join();
        EXPECT_TRUE(serveUntil([&] { return isServed; }));
        std::this_thread::sleep_for(milliseconds(3));
        order.clear();
        std::thread([&] {
            asTask([] { spinFor(std::chrono::microseconds(7200)); });
            for (int number = 0; number < 4; ++number)
                (number % 2 == 0 ? asTask : asEvent)([&, number] { order.push_back(number); });
        }).join();
        const steady_clock::time_point begin = steady_clock::now();
        EXPECT_TRUE(serveUntil([&] { return order.size() == 4; }));
        isInTime = steady_clock::now() - begin <= frame;
    }
    EXPECT_TRUE(isInTime) << "the machine is too busy";
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(GuiOrder, isThatOfPostingAgainWhenTheLastTaskOfAFloodRuns)
{
    Latch lastRuns;
    Latch havePosted;
    std::thread([&] {
        asTask([] { spinFor(milliseconds(3)); });
        asTask([] { spinFor(milliseconds(8)); }); // what is pending then is a flood
        for (int i = 0; i < 2; ++i)
            asTask([] {});
        asTask([&] {
            lastRuns.countDown();
            EXPECT_TRUE(havePosted.wait());
        });
    }).join();
    std::vector<std::string> order;
    std::thread poster([&] {
        EXPECT_TRUE(lastRuns.wait());
        asEvent([&] { order.emplace_back("event"); });
        asTask([&] { order.emplace_back("task"); });
        asEvent([&] { order.emplace_back("later event"); });
        havePosted.countDown();
    });
    EXPECT_TRUE(serveUntil([&] { return order.size() == 3; }));
    poster.join();
    EXPECT_EQ(order, (std::vector<std::string>{"event", "task", "later event"}));
}

TEST_F(GuiOrder, inAFloodOfTasksTimersGetTheirTurnInEveryFrame)
{
    constexpr int tasks = isSanitized ? 300 : 1000; // of a millisecond
    constexpr int mostInAFrame = 17;
    int runs = 0;
    int runsAtTick = 0;
    int longest = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        longest = std::max(longest, runs - runsAtTick);
        runsAtTick = runs;
    });
    std::thread([&] {
        for (int i = 0; i < tasks; ++i)
            dispatchAsync(
                [&] {
                    spinFor(milliseconds(1));
                    ++runs;
                },
                eQOS_GUI);
    }).join();
    QEventLoop loop;
    QTimer end;
    QObject::connect(&end, &QTimer::timeout, &loop, [&] {
        if (runs == tasks)
            loop.quit();
    });
    end.start(20);
    timer.start(1);
    loop.exec();
    EXPECT_GT(longest, 0);
    EXPECT_LE(longest, mostInAFrame);
}
