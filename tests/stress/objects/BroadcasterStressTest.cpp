#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/objects/Broadcaster.h>
#include <brn_mesh_kernel/objects/Delegator.h>

#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

struct Listener
{
    virtual ~Listener() = default;
    virtual void happened() { ++calls; }
    std::atomic<int> calls{0};
};

struct ObjectListener : QObject, Listener
{
    using QObject::QObject;
};

// Unsubscribes in its destructor, which may run in any thread: in the one that releases it last.
struct LeavingListener : Listener
{
    explicit LeavingListener(Broadcaster<Listener>& source) : m_source(source) {}
    ~LeavingListener() override { m_source.removeAllObservers(); }
    LeavingListener(const LeavingListener&) = delete;
    LeavingListener& operator=(const LeavingListener&) = delete;

private:
    Broadcaster<Listener>& m_source;
};

class Speaker : public Delegator<Listener>
{
public:
    void speak() { delegate(&Listener::happened); }
};

struct LeavingDelegate : Listener
{
    explicit LeavingDelegate(Speaker& source) : m_source(source) {}
    ~LeavingDelegate() override { m_source.setDelegate(nullptr); }
    LeavingDelegate(const LeavingDelegate&) = delete;
    LeavingDelegate& operator=(const LeavingDelegate&) = delete;

private:
    Speaker& m_source;
};

class BroadcasterStress : public TaskFixture
{
protected:
    static constexpr int rounds = 2000;
};

} // namespace

TEST_F(BroadcasterStress, observersMayBeAddedAndRemovedWhileBroadcastsRun)
{
    Broadcaster<Listener> broadcaster;
    const auto steady = std::make_shared<Listener>();
    broadcaster.addObserver(steady, false);
    const auto hostWork = [&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i)
            threads.emplace_back([&] {
                for (int round = 0; round < rounds; ++round)
                    broadcaster.broadcast(&Listener::happened);
            });
        for (const bool notifyAsynchronously : {false, true})
            threads.emplace_back([&, notifyAsynchronously] {
                for (int round = 0; round < rounds; ++round) {
                    const auto observer = std::make_shared<Listener>();
                    broadcaster.addObserver(observer, notifyAsynchronously);
                    if (round % 2 == 0) // the list finds the others expired
                        broadcaster.removeObserver(observer);
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_TRUE(dispatchSync([] {}, eQOS_GUI)); // returns after all calls that are pending there
    };
    Latch done;
    std::thread host([&] {
        hostWork();
        done.countDown();
    });
    // Meanwhile QObject observers come and go in the GUI thread, where they are called too.
    int objects = 0;
    EXPECT_TRUE(serveUntil([&] {
        QObject parent;
        auto* const object = new ObjectListener(&parent);
        broadcaster.addObserver(object);
        QCoreApplication::processEvents();
        if (++objects % 2 == 0)
            broadcaster.removeObserver(object);
        return done.isDown();
    }));
    host.join();
    EXPECT_EQ(steady->calls, 2 * rounds);
}

TEST_F(BroadcasterStress, aDelegateMayBeReplacedWhileTheObjectSpeaks)
{
    Speaker speaker;
    const auto first = std::make_shared<Listener>();
    const auto second = std::make_shared<Listener>();
    std::atomic<bool> isOver{false};
    std::thread replacer([&] {
        while (!isOver) {
            speaker.setDelegate(first, false);
            speaker.setDelegate(second, true);
            speaker.getDelegate();
        }
    });
    EXPECT_TRUE(runAside([&] {
        for (int round = 0; round < rounds; ++round)
            speaker.speak();
        isOver = true;
    }));
    replacer.join();
    EXPECT_LE(first->calls + second->calls, rounds);
}

TEST_F(BroadcasterStress, anObserverMayUnsubscribeInItsDestructor)
{
    Broadcaster<Listener> broadcaster;
    std::atomic<bool> isOver{false};
    std::thread others([&] {
        const auto stranger = std::make_shared<Listener>();
        while (!isOver)
            broadcaster.removeObserver(stranger); // locks the other observers, and may release one last
    });
    for (int round = 0; round < 50 * rounds; ++round) {
        const auto observer = std::make_shared<LeavingListener>(broadcaster);
        broadcaster.addObserver(std::shared_ptr<Listener>(observer), false);
    }
    isOver = true;
    others.join();
    const auto last = std::make_shared<Listener>();
    broadcaster.addObserver(last, false);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_EQ(last->calls, 1);
}

TEST_F(BroadcasterStress, aDelegateMayUnsubscribeInItsDestructor)
{
    Speaker speaker;
    std::atomic<bool> isOver{false};
    std::thread others([&] {
        while (!isOver)
            static_cast<void>(speaker.getDelegate());
    });
    for (int round = 0; round < 50 * rounds; ++round) {
        const auto delegate = std::make_shared<LeavingDelegate>(speaker);
        speaker.setDelegate(std::shared_ptr<Listener>(delegate), false);
    }
    isOver = true;
    others.join();
    EXPECT_EQ(speaker.getDelegate(), nullptr);
}
