#include <brn_mesh_kernel/objects/SharedObject.h>

#include <memory>
#include <type_traits>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

using namespace Brennic;
using Objects::SharedObject;
using Objects::SharedObjectInternal;

namespace {

struct Thing : SharedObject<Thing>
{
    Thing() : duringConstruction(shared_from_this()) {}
    Thing(const Thing& other) : SharedObjectInternal(), SharedObject(other) {}
    Thing& operator=(const Thing&) = default;
    ~Thing() override
    {
        if (isEmptyInDestructor != nullptr)
            *isEmptyInDestructor = shared_from_this() == nullptr;
    }

    std::shared_ptr<Thing> duringConstruction;
    bool* isEmptyInDestructor = nullptr;
};

struct Left : SharedObject<Left>
{
};
struct Both : Left, SharedObject<Both>
{
    using SharedObject<Both>::shared_from_this;
};

template <typename T>
constexpr bool isShared = std::is_base_of_v<SharedObject<T>, T>&& std::is_base_of_v<SharedObjectInternal, T>;

} // namespace

TEST(SharedObject, isTheBaseOfTaskTaskQueueAndProgress)
{
    EXPECT_TRUE(isShared<Core::Task>);
    EXPECT_TRUE(isShared<Core::TaskQueue>);
    EXPECT_TRUE(isShared<Core::Progress>);
}

TEST(SharedObject, theInternalBaseIsThatOfTheStandardLibraryWithAVirtualDestructor)
{
    using Standard = std::enable_shared_from_this<SharedObjectInternal>;
    EXPECT_TRUE((std::is_convertible_v<SharedObjectInternal*, Standard*>));
    EXPECT_TRUE(std::has_virtual_destructor_v<SharedObjectInternal>);
    EXPECT_TRUE(std::has_virtual_destructor_v<SharedObject<Thing>>);
}

TEST(SharedObject, addsNoDataOfItsOwn)
{
    EXPECT_EQ(sizeof(SharedObject<Thing>),
              sizeof(SharedObjectInternal) + sizeof(void*)); // the table's pointer
}

TEST(SharedObject, anObjectOnTheStackGivesAnEmptyPointer)
{
    Thing thing;
    EXPECT_EQ(thing.shared_from_this(), nullptr);
}

TEST(SharedObject, anObjectThatWasNeverAdoptedGivesAnEmptyPointer)
{
    const std::unique_ptr<Thing> thing(new Thing);
    EXPECT_EQ(thing->shared_from_this(), nullptr);
}

TEST(SharedObject, aConstructorGetsAnEmptyPointer)
{
    EXPECT_EQ(std::make_shared<Thing>()->duringConstruction, nullptr);
}

TEST(SharedObject, aDestructorGetsAnEmptyPointer)
{
    bool isEmpty = false;
    auto thing = std::make_shared<Thing>();
    thing->isEmptyInDestructor = &isEmpty;
    thing.reset();
    EXPECT_TRUE(isEmpty);
}

TEST(SharedObject, anOwnedObjectGivesPointersThatShareItsOwners)
{
    const std::shared_ptr<Thing> owner(new Thing);
    const std::shared_ptr<Thing> first = owner->shared_from_this();
    const std::shared_ptr<Thing> second = owner->shared_from_this();
    EXPECT_EQ(first, owner);
    EXPECT_EQ(first, second);
    EXPECT_EQ(owner.use_count(), 3);
}

TEST(SharedObject, aCopyIsNotOwnedUntilItIsAdopted)
{
    const auto owner = std::make_shared<Thing>();
    auto* const copy = new Thing(*owner);
    EXPECT_EQ(copy->shared_from_this(), nullptr);
    const std::shared_ptr<Thing> copyOwner(copy);
    EXPECT_EQ(copy->shared_from_this(), copyOwner);
    EXPECT_EQ(owner.use_count(), 1);
}

TEST(SharedObject, anAssignmentLeavesTheOwnersAsTheyAre)
{
    const auto target = std::make_shared<Thing>();
    const auto source = std::make_shared<Thing>();
    *target = *source;
    EXPECT_EQ(target->shared_from_this(), target);
    EXPECT_EQ(source->shared_from_this(), source);
    Thing onTheStack;
    *target = onTheStack;
    EXPECT_EQ(target->shared_from_this(), target);
}

TEST(SharedObject, severalPathsLeadToOneSelfReference)
{
    const auto owner = std::make_shared<Both>();
    EXPECT_EQ(owner->shared_from_this(), owner);
    EXPECT_EQ(static_cast<Left&>(*owner).shared_from_this(), owner);
    EXPECT_EQ(owner.use_count(), 1);
}

TEST(SharedObject, thePointersAreTypedAsTheMostDerivedClass)
{
    const auto task = std::make_shared<Core::Task>();
    const auto progress = std::make_shared<Core::Progress>();
    EXPECT_TRUE((std::is_same_v<decltype(task->shared_from_this()), std::shared_ptr<Core::Task>>));
    EXPECT_EQ(task->shared_from_this(), task);
    EXPECT_EQ(progress->shared_from_this(), progress);
}
