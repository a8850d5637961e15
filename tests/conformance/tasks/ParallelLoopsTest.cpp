#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/ParallelLoops.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/HostObjects.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::Each;
using ::testing::ElementsAre;

namespace {

LoopOptions optionsFor(const std::shared_ptr<TaskQueue>& queue, std::size_t grain = 0)
{
    LoopOptions options;
    options.queue = queue.get();
    options.grain = grain;
    return options;
}

LoopOptions alone(std::size_t grain = 0)
{
    LoopOptions options;
    options.maxWorkers = 1;
    options.grain = grain;
    return options;
}

// How often each index of 0 to before count is taken.
std::vector<int> taken(std::size_t count, const LoopOptions& options)
{
    std::vector<int> result(count);
    EXPECT_EQ(parallelFor(
                  std::size_t{0}, count,
                  [&](std::size_t begin, std::size_t end) {
                      for (std::size_t i = begin; i < end; ++i)
                          ++result[i];
                  },
                  options),
              eLoop_Completed);
    return result;
}

// The threads of a loop in which everybody waits, in the first grain, until count threads have come.
std::set<std::thread::id> threadsThatMeet(int count, LoopOptions options)
{
    options.grain = 1;
    Latch met(count);
    std::mutex mutex;
    std::set<std::thread::id> threads;
    EXPECT_EQ(parallelFor(
                  0, 100,
                  [&](int, int) {
                      {
                          const std::lock_guard<std::mutex> lock(mutex);
                          if (!threads.insert(std::this_thread::get_id()).second)
                              return;
                      }
                      met.countDown();
                      EXPECT_TRUE(met.wait(hangLimit));
                  },
                  options),
              eLoop_Completed);
    return threads;
}

double harmonicSum(int workers, std::size_t grain)
{
    const auto queue = TaskQueue::createQueue(eQOS_Normal, workers);
    const auto sum = parallelReduce(
        0, 100'003, 0.0,
        [](int begin, int end) {
            double result = 0;
            for (int i = begin; i < end; ++i)
                result += (i % 2 == 0 ? 1e8 : -1e-8) / (i + 1);
            return result;
        },
        [](double left, double right) { return left + right; }, optionsFor(queue, grain));
    return sum.value_or(0);
}

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

class Receiver final : public ProgressReportingProtocol
{
public:
    void progressUpdated(Progress*, float, const std::wstring&) override { note(); }
    void progressCompleted(Progress*, const std::wstring&) override { note(); }

    std::set<std::thread::id> threads;
    bool throws = false;

private:
    void note()
    {
        threads.insert(std::this_thread::get_id());
        if (throws)
            throw std::runtime_error("receiver");
    }
};

class ParallelLoops : public TaskFixture
{
protected:
    std::shared_ptr<TaskQueue> m_queue = TaskQueue::createQueue(eQOS_Normal, 3);
};

// Without an application object.
class ParallelLoopsAlone : public ::testing::Test
{
};

} // namespace

TEST_F(ParallelLoops, everyIndexIsTakenOnce)
{
    for (const std::size_t count : {0U, 1U, 2U, 3U, 1000U, 1023U, 100'000U})
        for (const std::size_t grain : {0U, 1U, 7U, 1000U, 1'000'000U})
            EXPECT_THAT(taken(count, optionsFor(m_queue, grain)), Each(1)) << count << " by " << grain;
}

TEST_F(ParallelLoops, aGrainHasTheGivenLengthButForTheLast)
{
    std::mutex mutex;
    std::multiset<int> lengths;
    ASSERT_EQ(parallelFor(
                  10, 45,
                  [&](int begin, int end) {
                      const std::lock_guard<std::mutex> lock(mutex);
                      lengths.insert(end - begin);
                  },
                  optionsFor(m_queue, 10)),
              eLoop_Completed);
    EXPECT_THAT(lengths, ElementsAre(5, 10, 10, 10));
}

TEST_F(ParallelLoops, anEmptyOrReversedRangeCallsNothing)
{
    const auto fail = [](int, int) { FAIL(); };
    EXPECT_EQ(parallelFor(5, 5, fail), eLoop_Completed);
    EXPECT_EQ(parallelFor(5, -5, fail), eLoop_Completed);
    EXPECT_EQ(parallelForEach(std::vector<int>(), [](int) { FAIL(); }), eLoop_Completed);
}

TEST_F(ParallelLoops, aRangeMayGoToBothEndsOfItsType)
{
    std::array<std::atomic<int>, 255> taken{};
    ASSERT_EQ(parallelFor(
                  std::int8_t{-128}, std::int8_t{127},
                  [&](std::int8_t begin, std::int8_t end) {
                      for (int i = begin; i < end; ++i)
                          ++taken[static_cast<std::size_t>(i + 128)];
                  },
                  optionsFor(m_queue, 100)),
              eLoop_Completed);
    EXPECT_TRUE(std::all_of(taken.begin(), taken.end(), [](const auto& count) { return count == 1; }));
}

TEST_F(ParallelLoops, aRangeMayHaveAsManyItemsAs64BitsCount)
{
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    for (const std::size_t grain : {std::size_t{0}, std::size_t{1} << 62U, std::size_t{most}}) {
        std::atomic<std::uint64_t> sum{0};
        ASSERT_EQ(parallelFor(
                      std::uint64_t{0}, most,
                      [&](std::uint64_t begin, std::uint64_t end) {
                          EXPECT_LT(begin, end);
                          sum += end - begin;
                      },
                      optionsFor(m_queue, grain)),
                  eLoop_Completed);
        EXPECT_EQ(sum, most);
    }
    std::atomic<std::int64_t> highest{0};
    ASSERT_EQ(parallelFor(
                  std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(),
                  [&](std::int64_t begin, std::int64_t end) {
                      EXPECT_LT(begin, end);
                      if (end == std::numeric_limits<std::int64_t>::max())
                          highest = end;
                  },
                  optionsFor(m_queue)),
              eLoop_Completed);
    EXPECT_EQ(highest, std::numeric_limits<std::int64_t>::max());
}

TEST_F(ParallelLoops, theEndsMayHaveDifferentTypes)
{
    const std::vector<int> values(100, 2);
    std::atomic<int> sum{0};
    ASSERT_EQ(parallelFor(0, values.size(),
                          [&](std::size_t begin, std::size_t end) {
                              sum += std::accumulate(&values[begin], &values[begin] + (end - begin), 0);
                          }),
              eLoop_Completed);
    EXPECT_EQ(sum, 200);
}

TEST_F(ParallelLoops, everyElementIsTakenOnce)
{
    std::vector<int> values(10'000);
    ASSERT_EQ(parallelForEach(
                  values, [](int& value) { ++value; }, optionsFor(m_queue)),
              eLoop_Completed);
    EXPECT_THAT(values, Each(1));
    std::array<std::string, 3> texts;
    ASSERT_EQ(parallelForEach(
                  texts, [](std::string& text) { text = "x"; }, optionsFor(m_queue, 1)),
              eLoop_Completed);
    EXPECT_THAT(texts, Each(std::string("x")));
}

TEST_F(ParallelLoops, theCallerAndAllWorkersRunTheBodyAtTheSameTime)
{
    const std::set<std::thread::id> threads = threadsThatMeet(4, optionsFor(m_queue));
    EXPECT_EQ(threads.size(), 4U);
    EXPECT_EQ(threads.count(std::this_thread::get_id()), 1U);
}

TEST_F(ParallelLoops, noMoreThreadsThanGivenRunTheBody)
{
    LoopOptions options = optionsFor(m_queue);
    options.maxWorkers = 2;
    EXPECT_EQ(threadsThatMeet(2, options).size(), 2U);
    EXPECT_THAT(threadsThatMeet(1, alone()), ElementsAre(std::this_thread::get_id()));
}

TEST_F(ParallelLoops, aLoopOfTheGuiClassOrOfNoneRunsInTheCallingThreadAlone)
{
    LoopOptions options;
    options.qos = static_cast<EQualityOfService>(17);
    EXPECT_THAT(threadsThatMeet(1, options), ElementsAre(std::this_thread::get_id()));
    EXPECT_TRUE(runAside([] {
        LoopOptions gui;
        gui.qos = eQOS_GUI;
        EXPECT_THAT(threadsThatMeet(1, gui), ElementsAre(std::this_thread::get_id()));
        gui.queue = TaskQueue::getGUIQueue();
        EXPECT_THAT(threadsThatMeet(1, gui), ElementsAre(std::this_thread::get_id()));
    }));
}

TEST_F(ParallelLoops, aLoopEndsWhileAllWorkersHaveOtherWork)
{
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    BlockingTask other;
    queue->addTask(other.task);
    ASSERT_TRUE(other.hasStarted());
    EXPECT_THAT(taken(10'000, optionsFor(queue)), Each(1));
}

TEST_F(ParallelLoops, aHelperThatComesAfterTheEndDoesNothing)
{
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    BlockingTask other;
    queue->addTask(other.task);
    ASSERT_TRUE(other.hasStarted());
    int runs = 0;
    for (int i = 0; i < 1000; ++i) {
        const auto own = std::make_unique<int>(1); // gone when the helpers come
        ASSERT_EQ(parallelFor(
                      0, 2, [&](int begin, int end) { runs += *own * (end - begin); }, optionsFor(queue, 1)),
                  eLoop_Completed);
    }
    other.release();
    addTask(queue, [] {})->waitTillFinished(); // behind all helpers
    EXPECT_EQ(runs, 2000);
}

TEST_F(ParallelLoops, aLoopInATaskOnItsOwnQueueEnds)
{
    for (const int workers : {1, 2}) {
        const auto queue = TaskQueue::createQueue(eQOS_Normal, workers);
        addTask(queue, [&] { EXPECT_THAT(taken(10'000, optionsFor(queue)), Each(1)); })->waitTillFinished();
    }
}

TEST_F(ParallelLoops, loopsInLoopsEnd)
{
    for (const int workers : {1, 3}) {
        const auto queue = TaskQueue::createQueue(eQOS_Normal, workers);
        std::atomic<int> sum{0};
        ASSERT_EQ(parallelFor(
                      0, 20,
                      [&](int begin, int end) {
                          for (int i = begin; i < end; ++i)
                              EXPECT_EQ(parallelFor(
                                            0, 20,
                                            [&](int first, int last) {
                                                for (int j = first; j < last; ++j)
                                                    sum += static_cast<int>(
                                                        taken(5, optionsFor(queue, 1)).size());
                                            },
                                            optionsFor(queue, 1)),
                                        eLoop_Completed);
                      },
                      optionsFor(queue, 1)),
                  eLoop_Completed);
        EXPECT_EQ(sum, 20 * 20 * 5);
    }
}

// Both workers are in the loop: the caller in a task, and the helper, which waits for a third task.
TEST_F(ParallelLoops, aPartMayWaitForATaskOfTheQueueInWhoseTaskTheLoopRuns)
{
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 2);
    std::atomic<bool> hasRun{false};
    const auto loop = addTask(queue, [&] {
        Latch helperIsIn;
        const auto caller = std::this_thread::get_id();
        EXPECT_EQ(parallelFor(
                      0, 2,
                      [&](int, int) {
                          if (std::this_thread::get_id() == caller) {
                              EXPECT_TRUE(helperIsIn.wait(hangLimit));
                              return;
                          }
                          helperIsIn.countDown();
                          addTask(queue, [&] { hasRun = true; })->waitTillFinished();
                      },
                      optionsFor(queue, 1)),
                  eLoop_Completed);
    });
    loop->waitTillFinished();
    EXPECT_TRUE(hasRun);
}

// The loop goes on until the task has run: nobody else is there for it than the helper's worker.
TEST_F(ParallelLoops, aHelperLetsOtherTasksRun)
{
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    LoopOptions options = optionsFor(queue, 1);
    options.progress = std::make_shared<Progress>();
    const auto caller = std::this_thread::get_id();
    std::atomic<bool> isSent{false};
    const ELoopEnd end = parallelFor(
        0, 600'000, // a minute
        [&](int, int) {
            if (std::this_thread::get_id() != caller && !isSent.exchange(true))
                queue->dispatch([&] { options.progress->cancel(); });
            spinFor(std::chrono::microseconds(200));
        },
        options);
    EXPECT_EQ(end, eLoop_Cancelled);
}

TEST_F(ParallelLoops, anExceptionOfTheCallersPartStopsTheRestAndComesOut)
{
    int runs = 0;
    const auto loop = [&] {
        return parallelFor(
            0, 1000,
            [&](int begin, int) {
                ++runs;
                if (begin == 3)
                    throw std::runtime_error("caller");
            },
            alone(1));
    };
    EXPECT_THROW(static_cast<void>(loop()), std::runtime_error);
    EXPECT_EQ(runs, 4);
}

TEST_F(ParallelLoops, anExceptionOfAWorkersPartComesOutOfTheCall)
{
    const auto caller = std::this_thread::get_id();
    std::atomic<bool> hasThrown{false};
    std::string what;
    try {
        static_cast<void>(parallelFor(
            0, 600'000,
            [&](int, int) {
                if (std::this_thread::get_id() == caller)
                    spinFor(std::chrono::microseconds(100));
                else if (!hasThrown.exchange(true))
                    throw std::runtime_error("worker");
            },
            optionsFor(m_queue, 1)));
    } catch (const std::runtime_error& error) {
        what = error.what();
    }
    EXPECT_EQ(what, "worker");
    EXPECT_THAT(taken(1000, optionsFor(m_queue)), Each(1)); // the workers go on
}

TEST_F(ParallelLoops, ofExceptionsOfAllThreadsOneComesOut)
{
    Latch met(4);
    std::atomic<int> throws{0};
    const auto loop = [&] {
        return parallelFor(
            0, 100,
            [&](int begin, int) {
                met.countDown();
                EXPECT_TRUE(met.wait(hangLimit));
                ++throws;
                throw begin;
            },
            optionsFor(m_queue, 1));
    };
    EXPECT_THROW(static_cast<void>(loop()), int);
    EXPECT_EQ(throws, 4);
}

TEST_F(ParallelLoops, aLoopThatIsCancelledBeforeCallsNothing)
{
    LoopOptions options = optionsFor(m_queue);
    options.progress = std::make_shared<Progress>(10);
    options.progress->cancel();
    EXPECT_EQ(parallelFor(
                  0, 10, [](int, int) { FAIL(); }, options),
              eLoop_Cancelled);
    EXPECT_EQ(options.progress->getCompletedUnitCount(), 0);
    EXPECT_EQ(parallelFor(
                  0, 0, [](int, int) { FAIL(); }, options),
              eLoop_Completed);
}

TEST_F(ParallelLoops, aCancelledLoopTakesNoFurtherGrain)
{
    LoopOptions options = alone(5);
    options.progress = std::make_shared<Progress>(100);
    int last = 0;
    EXPECT_EQ(parallelFor(
                  0, 100,
                  [&](int begin, int end) {
                      last = end;
                      if (begin == 20)
                          options.progress->cancel();
                  },
                  options),
              eLoop_Cancelled);
    EXPECT_EQ(last, 25);
    EXPECT_EQ(options.progress->getCompletedUnitCount(), 25);
}

// A thread that has looked just before may still take one.
TEST_F(ParallelLoops, afterACancelEachThreadBeginsOneGrainAtMost)
{
    LoopOptions options = optionsFor(m_queue, 1);
    options.progress = std::make_shared<Progress>(1'000'000);
    std::atomic<bool> isCancelled{false};
    std::atomic<int> begun{0};
    std::atomic<int> done{0};
    EXPECT_EQ(parallelFor(
                  0, 1'000'000,
                  [&](int begin, int) {
                      begun += isCancelled ? 1 : 0;
                      if (begin == 500) {
                          options.progress->cancel();
                          isCancelled = true;
                      }
                      while (begin > 500 && !isCancelled)
                          std::this_thread::yield();
                      ++done;
                  },
                  options),
              eLoop_Cancelled);
    EXPECT_LE(begun, 3);
    EXPECT_EQ(options.progress->getCompletedUnitCount(), done);
}

TEST_F(ParallelLoops, aCancelBehindTheLastGrainCutsNothing)
{
    LoopOptions options = alone(5);
    options.progress = std::make_shared<Progress>(10);
    EXPECT_EQ(parallelFor(
                  0, 10,
                  [&](int begin, int) {
                      if (begin == 5)
                          options.progress->cancel();
                  },
                  options),
              eLoop_Completed);
}

TEST_F(ParallelLoops, everyItemIsCountedOnceAndInTheCallingThread)
{
    for (const std::size_t grain : {0U, 1U, 1000U}) {
        LoopOptions options = optionsFor(m_queue, grain);
        options.progress = std::make_shared<Progress>(200'000);
        const auto receiver = std::make_shared<Receiver>();
        options.progress->setDelegate(std::shared_ptr<ProgressReportingProtocol>(receiver), false);
        EXPECT_THAT(taken(200'000, options), Each(1));
        EXPECT_EQ(options.progress->getCompletedUnitCount(), 200'000);
        EXPECT_THAT(receiver->threads, ElementsAre(std::this_thread::get_id()));
    }
}

TEST_F(ParallelLoops, itemsAreCountedWhileTheLoopRuns)
{
    LoopOptions options = optionsFor(m_queue, 1);
    options.progress = std::make_shared<Progress>();
    EXPECT_EQ(parallelFor(
                  0, 600'000, // a minute
                  [&](int, int) {
                      spinFor(std::chrono::microseconds(100));
                      if (options.progress->getCompletedUnitCount() > 10)
                          options.progress->cancel();
                  },
                  options),
              eLoop_Cancelled);
}

TEST_F(ParallelLoops, whatWasDoneBeforeAnExceptionIsCounted)
{
    LoopOptions options = alone(10);
    options.progress = std::make_shared<Progress>(100);
    const auto loop = [&] {
        return parallelFor(
            0, 100,
            [](int begin, int) {
                if (begin == 50)
                    throw begin;
            },
            options);
    };
    EXPECT_THROW(static_cast<void>(loop()), int);
    EXPECT_EQ(options.progress->getCompletedUnitCount(), 50);
}

TEST_F(ParallelLoops, whatAReceiverThrowsComesOutOfTheCall)
{
    LoopOptions options = optionsFor(m_queue);
    options.progress = std::make_shared<Progress>(10);
    const auto receiver = std::make_shared<Receiver>();
    receiver->throws = true;
    options.progress->setDelegate(std::shared_ptr<ProgressReportingProtocol>(receiver), false);
    EXPECT_THROW(static_cast<void>(parallelFor(
                     0, 10, [](int, int) {}, options)),
                 std::runtime_error);
    EXPECT_EQ(options.progress->getCompletedUnitCount(), 10);
}

TEST_F(ParallelLoops, moreItemsThanAProgressCanCountStopItAtItsEnd)
{
    LoopOptions options = optionsFor(m_queue);
    options.progress = std::make_shared<Progress>(std::numeric_limits<int>::max());
    ASSERT_EQ(parallelFor(
                  std::uint64_t{0}, std::uint64_t{1} << 40U, [](std::uint64_t, std::uint64_t) {}, options),
              eLoop_Completed);
    EXPECT_EQ(options.progress->getCompletedUnitCount(), std::numeric_limits<int>::max());
}

TEST_F(ParallelLoops, aReductionHasTheSameBitsWithAnyNumberOfWorkers)
{
    for (const std::size_t grain : {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{1'000'000}}) {
        const std::uint64_t bits = bitsOf(harmonicSum(1, grain));
        for (int workers = 2; workers <= 8; ++workers)
            EXPECT_EQ(bitsOf(harmonicSum(workers, grain)), bits) << workers << " workers, grain " << grain;
    }
}

// Otherwise the test above could not fail.
TEST_F(ParallelLoops, anotherGrainMakesOtherBits)
{
    EXPECT_NE(bitsOf(harmonicSum(1, 7)), bitsOf(harmonicSum(1, 1'000'000)));
}

TEST_F(ParallelLoops, aReductionCombinesFromTheFirstToTheLast)
{
    const auto text = parallelReduce(
        0, 26, std::string("-"),
        [](int begin, int end) {
            std::string part;
            for (int i = begin; i < end; ++i)
                part += static_cast<char>('a' + i);
            return part;
        },
        [](const std::string& left, const std::string& right) { return left + right; },
        optionsFor(m_queue, 4));
    EXPECT_EQ(text, "-abcdefghijklmnopqrstuvwxyz");
}

TEST_F(ParallelLoops, aResultNeedOnlyBeMoved)
{
    const auto sum = parallelReduce(
        0, 100, std::make_unique<int>(0),
        [](int begin, int end) { return std::make_unique<int>(end - begin); },
        [](std::unique_ptr<int> left, const std::unique_ptr<int>& right) {
            *left += *right;
            return left;
        },
        optionsFor(m_queue, 3));
    ASSERT_TRUE(sum.has_value());
    EXPECT_EQ(**sum, 100);
}

TEST_F(ParallelLoops, aReductionOfNothingIsTheIdentity)
{
    const auto never = [](int, int) -> int { throw std::logic_error("called"); };
    EXPECT_EQ(parallelReduce(3, 3, 42, never, never), 42);
    EXPECT_EQ(parallelReduce(3, 2, 42, never, never), 42);
}

TEST_F(ParallelLoops, aCancelledReductionIsEmpty)
{
    LoopOptions options = optionsFor(m_queue, 1);
    options.progress = std::make_shared<Progress>(100);
    const auto map = [&](int, int) {
        options.progress->cancel();
        return 1;
    };
    EXPECT_EQ(parallelReduce(0, 100, 0, map, std::plus<>(), options), std::nullopt);
}

TEST_F(ParallelLoops, aReductionCountsItems)
{
    LoopOptions options = optionsFor(m_queue);
    options.progress = std::make_shared<Progress>(100'000);
    const auto count = parallelReduce(
        0, 100'000, 0, [](int begin, int end) { return end - begin; }, std::plus<>(), options);
    EXPECT_EQ(count, 100'000);
    EXPECT_EQ(options.progress->getCompletedUnitCount(), 100'000);
}

TEST_F(ParallelLoops, anExceptionOfAReductionComesOut)
{
    const auto throwing = [](int, int) -> int { throw 7; };
    EXPECT_THROW(static_cast<void>(parallelReduce(0, 100, 0, throwing, std::plus<>())), int);
    EXPECT_THROW(static_cast<void>(parallelReduce(0, 100, 0, std::plus<>(), throwing)), int);
}

TEST_F(ParallelLoops, theQueueMayGoWhileTheLoopRuns)
{
    auto queue = TaskQueue::createQueue(eQOS_Normal, 2);
    const LoopOptions options = optionsFor(queue, 1);
    const std::weak_ptr<TaskQueue> gone = queue;
    Latch met(3);
    std::atomic<int> runs{0};
    EXPECT_EQ(parallelFor(
                  0, 1000,
                  [&](int begin, int) {
                      if (begin == 0)
                          queue.reset();
                      if (++runs <= 3) {
                          met.countDown();
                          EXPECT_TRUE(met.wait(hangLimit));
                      }
                  },
                  options),
              eLoop_Completed);
    EXPECT_EQ(runs, 1000);
    EXPECT_TRUE(gone.expired());
}

TEST_F(ParallelLoops, theProgressMayBeLetGoOfWhileTheLoopRuns)
{
    LoopOptions options = optionsFor(m_queue, 1);
    options.progress = std::make_shared<Progress>(100);
    const std::shared_ptr<ProgressState> state = options.progress->getState();
    EXPECT_EQ(parallelFor(
                  0, 100,
                  [&](int begin, int) {
                      if (begin == 0)
                          options.progress.reset();
                  },
                  options),
              eLoop_Completed);
    EXPECT_EQ(state->getCompletedUnitCount(), 100);
    EXPECT_TRUE(state->hasEnded());
}

TEST_F(ParallelLoops, theApplicationObjectMayGoWhileTheLoopRuns)
{
    Latch met(4);
    Latch gone;
    std::atomic<int> runs{0};
    std::thread host([&] {
        EXPECT_EQ(parallelFor(
                      0, 1000,
                      [&](int, int) {
                          if (++runs > 4)
                              return;
                          met.countDown();
                          EXPECT_TRUE(gone.wait());
                      },
                      optionsFor(m_queue, 1)),
                  eLoop_Completed);
        EXPECT_THAT(taken(1000, optionsFor(m_queue)), Each(1));
    });
    EXPECT_TRUE(met.wait());
    application.reset();
    gone.countDown();
    host.join();
    EXPECT_EQ(runs, 1000);
    application = makeApplication();
    EXPECT_EQ(threadsThatMeet(4, optionsFor(m_queue)).size(), 4U);
}

TEST_F(ParallelLoopsAlone, withoutAnApplicationObjectTheCallerDoesAllOfIt)
{
    EXPECT_THAT(threadsThatMeet(1, LoopOptions()), ElementsAre(std::this_thread::get_id()));
    std::thread([] {
        EXPECT_THAT(threadsThatMeet(1, LoopOptions()), ElementsAre(std::this_thread::get_id()));
    }).join();
    EXPECT_THAT(taken(100'000, LoopOptions()), Each(1));
}
