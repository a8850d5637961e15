#include <brn_mesh_kernel/objects/Delegator.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "conformance/objects/Listener.h"
#include "support/TaskFixture.h"
#include "support/VirtualSlot.h"

using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Delegator = Brennic::Core::Delegator<Listener>;

namespace {

class Speaker : public Delegator
{
public:
    void speak() { delegate(&Listener::happened); }
    void speak(int distance, const std::string& where) { delegate(&Listener::moved, distance, where); }
    void speak(const void* sender, float value, const std::wstring& text)
    {
        delegate(&Listener::changed, sender, value, text);
    }
};

/// Writes down which of the operations that a derived class can override are used.
class WatchedSpeaker : public Speaker
{
public:
    void addObserver(Listener* observer) override
    {
        operations.emplace_back("add pointer");
        Speaker::addObserver(observer);
    }
    void addObserver(const std::shared_ptr<Listener>& observer, bool notifyAsynchronously) override
    {
        operations.emplace_back(notifyAsynchronously ? "add async" : "add sync");
        Speaker::addObserver(observer, notifyAsynchronously);
    }
    void removeAllObservers() override
    {
        operations.emplace_back("remove all");
        Speaker::removeAllObservers();
    }

    std::vector<std::string> operations;
};

class DelegatorTest : public TaskFixture
{
protected:
    void serve()
    {
        ASSERT_TRUE(runAside([] { Brennic::Core::dispatchSync([] {}, Brennic::Core::eQOS_GUI); }));
    }

    Journal journal;
    Speaker speaker;
    std::shared_ptr<Receiver> a = std::make_shared<Receiver>(journal, "a");
    std::shared_ptr<Receiver> b = std::make_shared<Receiver>(journal, "b");
};

} // namespace

TEST_F(DelegatorTest, theVirtualOperationsFollowThoseOfTheBroadcaster)
{
    using Shared = void (Delegator::*)(const std::shared_ptr<Listener>&, bool);
    using Pointer = void (Delegator::*)(Listener*);
    EXPECT_EQ(virtualSlot(static_cast<Shared>(&Delegator::setDelegate)), 7U);
    EXPECT_EQ(virtualSlot(static_cast<Pointer>(&Delegator::setDelegate)), 8U);
    EXPECT_TRUE(std::has_virtual_destructor_v<Delegator>);
}

TEST_F(DelegatorTest, theBroadcasterIsOutOfReachFromOutside)
{
    using Broadcaster = Brennic::Core::Broadcaster<Listener>;
    EXPECT_TRUE((std::is_base_of_v<Broadcaster, Delegator>));
    EXPECT_FALSE((std::is_convertible_v<Delegator*, Broadcaster*>));
    EXPECT_EQ(sizeof(Delegator), sizeof(Broadcaster));
}

TEST_F(DelegatorTest, aNewObjectHasNoDelegate)
{
    EXPECT_EQ(speaker.getDelegate(), nullptr);
    speaker.speak();
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(DelegatorTest, onlyTheLastDelegateHears)
{
    speaker.setDelegate(a, false);
    speaker.setDelegate(b, true);
    EXPECT_EQ(speaker.getDelegate(), b.get());
    std::thread([this] { speaker.speak(); }).join();
    EXPECT_THAT(journal.lines(), IsEmpty());
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("b"));
    EXPECT_THAT(journal.threads(), ElementsAre(QThread::currentThread()));
}

TEST_F(DelegatorTest, aSynchronousDelegateHearsBeforeTheCallReturns)
{
    speaker.setDelegate(a, false);
    std::thread([this] {
        speaker.speak();
        EXPECT_THAT(journal.lines(), ElementsAre("a"));
        EXPECT_THAT(journal.threads(), ElementsAre(QThread::currentThread()));
    }).join();
}

TEST_F(DelegatorTest, argumentsReachTheDelegate)
{
    speaker.setDelegate(a, false);
    speaker.speak(3, "up");
    speaker.speak(a.get(), 0.25F, L"quarter");
    EXPECT_THAT(journal.lines(), ElementsAre("a 3 up", "a self 0.250000 quarter"));
}

TEST_F(DelegatorTest, anEmptyPointerLeavesNoDelegate)
{
    speaker.setDelegate(a, false);
    speaker.setDelegate(std::shared_ptr<Listener>(), false);
    EXPECT_EQ(speaker.getDelegate(), nullptr);
    speaker.speak();
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(DelegatorTest, aNullPointerLeavesNoDelegate)
{
    speaker.setDelegate(a, true);
    speaker.setDelegate(static_cast<Listener*>(nullptr));
    EXPECT_EQ(speaker.getDelegate(), nullptr);
}

TEST_F(DelegatorTest, aSharedDelegateThatHasExpiredIsNull)
{
    speaker.setDelegate(a, false);
    EXPECT_EQ(a.use_count(), 1);
    a.reset();
    EXPECT_EQ(speaker.getDelegate(), nullptr);
    speaker.setDelegate(b, true);
    b.reset();
    EXPECT_EQ(speaker.getDelegate(), nullptr);
}

TEST_F(DelegatorTest, aQObjectDelegateHearsInTheGuiThreadAndIsNullOnceDestroyed)
{
    auto object = std::make_unique<ObjectReceiver>(journal, "object");
    speaker.setDelegate(object.get());
    EXPECT_EQ(speaker.getDelegate(), static_cast<Listener*>(object.get()));
    std::thread([this] { speaker.speak(); }).join();
    EXPECT_THAT(journal.lines(), IsEmpty());
    serve();
    EXPECT_THAT(journal.lines(), ElementsAre("object"));
    object.reset();
    EXPECT_EQ(speaker.getDelegate(), nullptr);
}

TEST_F(DelegatorTest, aPointerThatIsNoQObjectThrowsAfterTheOldDelegateIsGone)
{
    speaker.setDelegate(a, false);
    Receiver plain(journal, "plain");
    try {
        speaker.setDelegate(&plain);
        FAIL() << "nothing thrown";
    } catch (const std::invalid_argument& exception) {
        EXPECT_EQ(exception.what(), std::string(typeid(Receiver).name()) +
                                        " needs to be a QObject with its lifetime managed by its parent!");
    }
    EXPECT_EQ(speaker.getDelegate(), nullptr);
}

TEST_F(DelegatorTest, overridesOfADerivedClassTakePart)
{
    WatchedSpeaker watched;
    ObjectReceiver object(journal, "object");
    watched.setDelegate(a, false);
    watched.setDelegate(b, true);
    watched.setDelegate(&object);
    EXPECT_THAT(watched.operations, ElementsAre("remove all", "add sync", "remove all", "add async",
                                                "remove all", "add pointer"));
}

TEST_F(DelegatorTest, theDelegateIsNotToldOfTheEnd)
{
    auto shortLived = std::make_unique<Speaker>();
    shortLived->setDelegate(a, false);
    shortLived.reset();
    EXPECT_THAT(journal.lines(), IsEmpty());
}
