#include "BlockLoop.h"

#include <atomic>
#include <mutex>
#include <set>
#include <vector>

#include <QCoreApplication>
#include <QThread>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Brennic::Core::eQOS_Normal;
using Brennic::Core::TaskQueue;
using ::testing::Each;

namespace {

class BlockLoopTest : public ::testing::Test
{
protected:
    int m_argumentCount = 1;
    char m_name[5] = "test";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argumentCount, m_arguments}; // queues run their tasks while there is one
};

} // namespace

TEST_F(BlockLoopTest, everyIndexIsTakenOnce)
{
    const BlockLoop loop = makeTaskLoop(TaskQueue::createQueue(eQOS_Normal, 3));
    for (const std::size_t count : {0U, 1U, 1023U, 1024U, 1025U, 100'000U}) {
        std::vector<int> taken(count);
        loop(count, [&taken](std::size_t first, std::size_t last) {
            for (std::size_t i = first; i < last; ++i)
                ++taken[i];
        });
        EXPECT_THAT(taken, Each(1)) << count;
    }
}

TEST_F(BlockLoopTest, blocksRunOnTheQueuesWorkers)
{
    const BlockLoop loop = makeTaskLoop(TaskQueue::createQueue(eQOS_Normal, 2));
    std::mutex mutex;
    std::set<QThread*> threads;
    loop(1'000'000, [&](std::size_t, std::size_t) {
        const std::lock_guard<std::mutex> lock(mutex);
        threads.insert(QThread::currentThread());
    });
    EXPECT_EQ(threads.count(QThread::currentThread()), 0U);
    EXPECT_LE(threads.size(), 2U);
    EXPECT_GE(threads.size(), 1U);
}
