#include <brn_mesh_kernel/objects/Broadcaster.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "conformance/objects/Listener.h"
#include "support/AnnouncementCount.h"
#include "support/TaskFixture.h"
#include "support/VirtualSlot.h"

using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Broadcaster = Brennic::Core::Broadcaster<Listener>;

namespace {

const std::string complaint = " needs to be a QObject with its lifetime managed by its parent!";

/// Counts how often a value is copied.
struct Counted
{
    explicit Counted(int& counter) : copies(&counter) {}
    Counted(const Counted& other) : copies(other.copies) { ++*copies; }
    Counted(Counted&& other) noexcept = default;
    Counted& operator=(const Counted&) = delete;
    Counted& operator=(Counted&&) = delete;
    ~Counted() = default;

    int* copies;
};

/// Notifications that take their argument in every way there is.
struct Taker
{
    virtual ~Taker() = default;
    virtual void looks(const Counted& /*value*/) {}
    virtual void takes(std::string value) { taken.push_back(std::move(value)); }
    virtual void changes(std::string& value)
    {
        taken.push_back(value);
        value = "changed";
    }
    virtual void moves(std::string&& value) { taken.push_back(std::move(value)); }
    virtual void reads(const std::string& value) { taken.push_back(value); }

    std::vector<std::string> taken;
};

/// Counts the events that this thread's event loop delivers, to whatever object.
class EventCount : public QObject
{
public:
    EventCount() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent*) override
    {
        ++events;
        return false;
    }
    int events = 0;
};

class BroadcasterTest : public TaskFixture
{
protected:
    std::shared_ptr<Receiver> receiver(const std::string& name)
    {
        return std::make_shared<Receiver>(journal, name);
    }

    /// Broadcasts in another thread, and lets the GUI thread rest until that is done.
    void broadcastAside()
    {
        std::thread([this] { broadcaster.broadcast(&Listener::happened); }).join();
    }

    /// Runs all the GUI tasks that are pending now.
    void serve()
    {
        ASSERT_TRUE(runAside([] { Brennic::Core::dispatchSync([] {}, Brennic::Core::eQOS_GUI); }));
    }

    template <typename Call>
    static std::string exceptionText(Call call)
    {
        try {
            call();
        } catch (const std::invalid_argument& exception) {
            return exception.what();
        }
        return "nothing thrown";
    }

    /// A task that somebody may look at has a copy of its callable, once anybody in this process has connected.
    static int copiesOfTask() { return Brennic::Core::TaskQueue::getGUIQueue()->isArrivalObserved() ? 1 : 0; }

    Journal journal;
    Broadcaster broadcaster;
    QObject parent;
};

} // namespace

TEST_F(BroadcasterTest, theVirtualOperationsStandInTheirOrder)
{
    using Pointer = void (Broadcaster::*)(Listener*);
    using Shared = void (Broadcaster::*)(const std::shared_ptr<Listener>&);
    using SharedWithFlag = void (Broadcaster::*)(const std::shared_ptr<Listener>&, bool);
    EXPECT_EQ(virtualSlot(static_cast<Pointer>(&Broadcaster::addObserver)), 2U);
    EXPECT_EQ(virtualSlot(static_cast<SharedWithFlag>(&Broadcaster::addObserver)), 3U);
    EXPECT_EQ(virtualSlot(static_cast<Pointer>(&Broadcaster::removeObserver)), 4U);
    EXPECT_EQ(virtualSlot(static_cast<Shared>(&Broadcaster::removeObserver)), 5U);
    EXPECT_EQ(virtualSlot(&Broadcaster::removeAllObservers), 6U);
    EXPECT_TRUE(std::has_virtual_destructor_v<Broadcaster>);
}

TEST_F(BroadcasterTest, aSynchronousObserverIsCalledInTheBroadcastingThreadBeforeTheCallReturns)
{
    const auto observer = receiver("sync");
    broadcaster.addObserver(observer, false);
    std::vector<std::string> heardOnReturn;
    QThread* broadcasting = nullptr;
    std::thread([&] {
        broadcasting = QThread::currentThread();
        broadcaster.broadcast(&Listener::happened);
        heardOnReturn = journal.lines();
        EXPECT_THAT(journal.threads(), ElementsAre(broadcasting));
    }).join();
    EXPECT_THAT(heardOnReturn, ElementsAre("sync"));
}

TEST_F(BroadcasterTest, anAsynchronousObserverIsCalledLaterInTheGuiThread)
{
    const auto observer = receiver("async");
    broadcaster.addObserver(observer, true);
    broadcastAside();
    EXPECT_THAT(journal.lines(), IsEmpty());
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("async"));
    EXPECT_THAT(journal.threads(), ElementsAre(QThread::currentThread()));
}

TEST_F(BroadcasterTest, aQObjectObserverIsCalledLaterInTheGuiThread)
{
    ObjectReceiver observer(journal, "object");
    broadcaster.addObserver(&observer);
    broadcastAside();
    EXPECT_THAT(journal.lines(), IsEmpty());
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("object"));
    EXPECT_THAT(journal.threads(), ElementsAre(QThread::currentThread()));
}

TEST_F(BroadcasterTest, aBroadcastInTheGuiThreadReachesEverybodyAtOnceAndSynchronousObserversLast)
{
    ObjectReceiver object(journal, "object");
    const auto sync = receiver("sync");
    const auto async = receiver("async");
    broadcaster.addObserver(sync, false);
    broadcaster.addObserver(async, true);
    broadcaster.addObserver(&object);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("object", "async", "sync"));
}

TEST_F(BroadcasterTest, fromAnotherThreadGuardedObserversComeBeforeAsynchronousOnes)
{
    ObjectReceiver object(journal, "object");
    const auto async = receiver("async");
    broadcaster.addObserver(async, true);
    broadcaster.addObserver(&object);
    broadcastAside();
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("object", "async"));
}

TEST_F(BroadcasterTest, eachGroupIsCalledInTheOrderOfRegistration)
{
    ObjectReceiver object1(journal, "object1");
    ObjectReceiver object2(journal, "object2");
    const std::vector<std::shared_ptr<Receiver>> observers{receiver("s1"), receiver("s2"), receiver("a1"),
                                                           receiver("a2")};
    broadcaster.addObserver(observers[0], false);
    broadcaster.addObserver(observers[2], true);
    broadcaster.addObserver(&object1);
    broadcaster.addObserver(observers[1], false);
    broadcaster.addObserver(observers[3], true);
    broadcaster.addObserver(&object2);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("object1", "object2", "a1", "a2", "s1", "s2"));
}

TEST_F(BroadcasterTest, aBroadcastWithoutObserversHandsOneCallableToTheGuiQueue)
{
    const AnnouncementCount announcements(*Brennic::Core::TaskQueue::getGUIQueue());
    broadcastAside();
    EXPECT_EQ(announcements.count(), 1);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_EQ(announcements.count(), 2);
}

TEST_F(BroadcasterTest, aBroadcastThatNobodyCanObserveBringsNoEventToTheGuiThread)
{
    if (Brennic::Core::TaskQueue::getGUIQueue()->isArrivalObserved())
        GTEST_SKIP() << "an earlier test of this process has connected to the GUI queue";
    const auto here = receiver("sync");
    const auto there = receiver("async");
    broadcaster.addObserver(here, false);
    QCoreApplication::processEvents();
    const EventCount count;
    broadcastAside();
    QCoreApplication::processEvents();
    EXPECT_THAT(journal.lines(), ElementsAre("sync"));
    EXPECT_EQ(count.events, 0);
    broadcaster.addObserver(there, true);
    broadcastAside();
    QCoreApplication::processEvents();
    EXPECT_THAT(journal.lines(), ElementsAre("sync", "sync", "async"));
    EXPECT_GT(count.events, 0);
}

TEST_F(BroadcasterTest, argumentsReachTheObservers)
{
    const auto observer = receiver("sync");
    broadcaster.addObserver(observer, false);
    broadcaster.broadcast(&Listener::moved, 7, "north");
    broadcaster.broadcast(&Listener::changed, observer.get(), 0.5F, L"half");
    EXPECT_THAT(journal.lines(), ElementsAre("sync 7 north", "sync self 0.500000 half"));
}

TEST_F(BroadcasterTest, argumentsAreCopiedIntoTheNotification)
{
    const auto observer = receiver("async");
    broadcaster.addObserver(observer, true);
    std::thread([&] {
        std::string where = "then";
        broadcaster.broadcast(&Listener::moved, 1, where);
        where = "now";
    }).join();
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("async 1 then"));
}

TEST_F(BroadcasterTest, anArgumentThatIsOnlyReadIsNotCopiedForOneObserver)
{
    for (const bool notifyAsynchronously : {false, true}) {
        Brennic::Core::Broadcaster<Taker> source;
        const auto taker = std::make_shared<Taker>();
        source.addObserver(taker, notifyAsynchronously);
        int copies = 0;
        std::thread([&] { source.broadcast(&Taker::looks, Counted(copies)); }).join();
        serve();
        EXPECT_EQ(copies, notifyAsynchronously ? copiesOfTask() : 0);
    }
}

TEST_F(BroadcasterTest, anArgumentThatIsOnlyReadIsCopiedOnceForObserversOfBothKinds)
{
    Brennic::Core::Broadcaster<Taker> source;
    const std::vector<std::shared_ptr<Taker>> takers(3, std::make_shared<Taker>());
    for (const auto& taker : takers) {
        source.addObserver(taker, false);
        source.addObserver(taker, true);
    }
    int copies = 0;
    std::thread([&] { source.broadcast(&Taker::looks, Counted(copies)); }).join();
    serve();
    EXPECT_EQ(copies, 1 + copiesOfTask());
}

TEST_F(BroadcasterTest, everyObserverIsGivenTheArgumentAsItWasHoweverItTakesIt)
{
    Brennic::Core::Broadcaster<Taker> source;
    const std::vector<std::shared_ptr<Taker>> takers{std::make_shared<Taker>(), std::make_shared<Taker>(),
                                                     std::make_shared<Taker>(), std::make_shared<Taker>()};
    for (std::size_t i = 0; i < takers.size(); ++i)
        source.addObserver(takers[i], i < 2);
    const std::string text = "longer than what a string keeps in itself";
    std::thread([&] {
        source.broadcast(&Taker::takes, text);
        source.broadcast(&Taker::changes, text);
        source.broadcast(&Taker::moves, text);
        source.broadcast(&Taker::reads, text);
    }).join();
    serve();
    for (const auto& taker : takers)
        EXPECT_THAT(taker->taken, ElementsAre(text, text, text, text));
}

TEST_F(BroadcasterTest, emptyPointersAreIgnored)
{
    broadcaster.addObserver(static_cast<Listener*>(nullptr));
    broadcaster.addObserver(std::shared_ptr<Listener>(), false);
    broadcaster.addObserver(std::shared_ptr<Listener>(), true);
    broadcaster.removeObserver(static_cast<Listener*>(nullptr));
    broadcaster.removeObserver(std::shared_ptr<Listener>());
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(BroadcasterTest, anObserverThatIsAddedTwiceHearsTwiceAndIsRemovedWhole)
{
    const auto observer = receiver("sync");
    broadcaster.addObserver(observer, false);
    broadcaster.addObserver(observer, false);
    broadcaster.addObserver(observer, true);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("sync", "sync", "sync"));
    broadcaster.removeObserver(observer);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_EQ(journal.lines().size(), 3U);
}

TEST_F(BroadcasterTest, removingOneObserverLeavesTheOthers)
{
    const auto first = receiver("first");
    const auto second = receiver("second");
    broadcaster.addObserver(first, false);
    broadcaster.addObserver(second, false);
    broadcaster.removeObserver(first);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("second"));
}

TEST_F(BroadcasterTest, everyEntryOfAQObjectIsRemoved)
{
    ObjectReceiver observer(journal, "object", &parent);
    ObjectReceiver other(journal, "other", &parent);
    broadcaster.addObserver(&observer);
    broadcaster.addObserver(&other);
    broadcaster.addObserver(&observer);
    broadcaster.removeObserver(&observer);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("other"));
}

TEST_F(BroadcasterTest, removeAllObserversEmptiesAllThreeLists)
{
    ObjectReceiver object(journal, "object");
    const auto sync = receiver("sync");
    const auto async = receiver("async");
    broadcaster.addObserver(&object);
    broadcaster.addObserver(sync, false);
    broadcaster.addObserver(async, true);
    broadcaster.removeAllObservers();
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(BroadcasterTest, addingAPlainPointerThatIsNoQObjectThrows)
{
    Receiver observer(journal, "plain");
    const std::string text = exceptionText([&] { broadcaster.addObserver(&observer); });
    EXPECT_EQ(text, typeid(Receiver).name() + complaint);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(BroadcasterTest, removingAPlainPointerThatIsNoQObjectThrows)
{
    Receiver observer(journal, "plain");
    EXPECT_EQ(exceptionText([&] { broadcaster.removeObserver(&observer); }),
              typeid(Receiver).name() + complaint);
}

TEST_F(BroadcasterTest, aQObjectWithoutParentCanBeAddedButNotRemovedByPointer)
{
    ObjectReceiver observer(journal, "object");
    broadcaster.addObserver(&observer);
    EXPECT_EQ(exceptionText([&] { broadcaster.removeObserver(&observer); }),
              typeid(ObjectReceiver).name() + complaint);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("object"));
}

TEST_F(BroadcasterTest, sharedObserversAreHeldWeakly)
{
    auto observer = receiver("gone");
    broadcaster.addObserver(observer, false);
    broadcaster.addObserver(observer, true);
    EXPECT_EQ(observer.use_count(), 1);
    observer.reset();
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(BroadcasterTest, anObserverThatGoesBeforeTheGuiThreadGetsThereIsNotCalled)
{
    auto async = receiver("async");
    auto object = std::make_unique<ObjectReceiver>(journal, "object");
    broadcaster.addObserver(async, true);
    broadcaster.addObserver(object.get());
    broadcastAside();
    async.reset();
    object.reset();
    serve();
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(BroadcasterTest, aNotificationOutlivesItsBroadcaster)
{
    const auto observer = receiver("async");
    auto shortLived = std::make_unique<Broadcaster>();
    shortLived->addObserver(observer, true);
    std::thread([&] { shortLived->broadcast(&Listener::happened); }).join();
    shortLived.reset();
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("async"));
}

TEST_F(BroadcasterTest, anObserverMayChangeTheListAndTheChangeCountsFromTheNextBroadcast)
{
    const auto first = receiver("first");
    const auto second = receiver("second");
    first->onHappened = [&] {
        broadcaster.removeAllObservers();
        broadcaster.addObserver(second, false);
    };
    const auto third = receiver("third");
    broadcaster.addObserver(first, false);
    broadcaster.addObserver(third, false);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("first", "third"));
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("first", "third", "second"));
}

TEST_F(BroadcasterTest, anObserverMayBroadcastAgain)
{
    const auto observer = receiver("sync");
    int depth = 0;
    observer->onHappened = [&] {
        if (++depth < 3)
            broadcaster.broadcast(&Listener::happened);
    };
    broadcaster.addObserver(observer, false);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("sync", "sync", "sync"));
}

TEST_F(BroadcasterTest, anObserverIsHeldWhileItIsCalled)
{
    auto observer = receiver("sync");
    observer->onHappened = [&observer] { observer.reset(); };
    broadcaster.addObserver(observer, false);
    broadcaster.broadcast(&Listener::happened);
    EXPECT_THAT(journal.lines(), ElementsAre("sync"));
    EXPECT_EQ(observer, nullptr);
}

TEST_F(BroadcasterTest, anExceptionOfASynchronousObserverPassesThroughAndEndsTheRound)
{
    const auto async = receiver("async");
    const auto first = receiver("first");
    const auto second = receiver("second");
    first->onHappened = [] { throw std::runtime_error("observer"); };
    broadcaster.addObserver(async, true);
    broadcaster.addObserver(first, false);
    broadcaster.addObserver(second, false);
    std::thread([&] { EXPECT_THROW(broadcaster.broadcast(&Listener::happened), std::runtime_error); }).join();
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("first", "async"));
}
