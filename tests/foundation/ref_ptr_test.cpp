// Reference counting: who keeps an object, and when it goes.

#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

#include "foundation/ref_ptr.h"

using namespace VestaHbbTV;

namespace {

int living = 0;

class Thing : public RefCounted<Thing> {
public:
    Thing() { ++living; }
    ~Thing() override { --living; }
};

/// Derived, so that deleting takes the virtual destructor.
class SpecialThing : public Thing {
public:
    SpecialThing() { ++specialLiving; }
    ~SpecialThing() override { --specialLiving; }

    static int specialLiving;
};
int SpecialThing::specialLiving = 0;

class RefPtr : public ::testing::Test {
protected:
    ~RefPtr() override { EXPECT_EQ(living, 0); }
};

TEST_F(RefPtr, EmptyHoldsNothing)
{
    const ref_ptr<Thing> empty;
    EXPECT_EQ(empty.get(), nullptr);
    EXPECT_FALSE(empty);
    EXPECT_TRUE(empty == ref_ptr<Thing>());
}

TEST_F(RefPtr, DeletesWithTheLastReference)
{
    ref_ptr<Thing> first(new Thing);
    {
        const ref_ptr<Thing> second(first);
        EXPECT_EQ(second.get(), first.get());
        first.reset();
        EXPECT_EQ(living, 1);
    }
    EXPECT_EQ(living, 0);
}

TEST_F(RefPtr, PointersAreTakenWhereReferencesAreWanted)
{
    const auto isHeld = [](const ref_ptr<Thing>& thing) { return thing && living == 1; };
    EXPECT_TRUE(isHeld(new Thing));
    EXPECT_FALSE(isHeld(nullptr));
    EXPECT_EQ(living, 0);
}

TEST_F(RefPtr, CountStartsAtZeroAndUncountedObjectsStay)
{
    Thing onStack;
    EXPECT_FALSE(onStack.isCounted());
    const std::unique_ptr<Thing> plain = std::make_unique<Thing>();
    EXPECT_EQ(living, 2);
}

TEST_F(RefPtr, OneMoreReferenceKeepsAnObjectThatIsLetGo)
{
    Thing held;
    held.countUp();
    {
        const ref_ptr<Thing> pointer(&held);
        EXPECT_TRUE(held.isCounted());
    }
    EXPECT_EQ(living, 1);
    EXPECT_TRUE(held.isCounted());
}

TEST_F(RefPtr, ResetToTheHeldObjectKeepsIt)
{
    ref_ptr<Thing> pointer(new Thing);
    pointer.reset(pointer.get());
    EXPECT_EQ(living, 1);
}

TEST_F(RefPtr, ResetReplacesTheObject)
{
    ref_ptr<Thing> pointer(new Thing);
    auto* const second = new Thing;
    pointer.reset(second);
    EXPECT_EQ(living, 1);
    EXPECT_EQ(pointer.get(), second);
}

TEST_F(RefPtr, AssignmentCountsBothSides)
{
    ref_ptr<Thing> left(new Thing);
    const ref_ptr<Thing> right(new Thing);
    left = right;
    EXPECT_EQ(living, 1);
    EXPECT_TRUE(left == right);
    const ref_ptr<Thing>& same = left;
    left = same;
    EXPECT_EQ(living, 1);
}

TEST_F(RefPtr, MovingTakesTheReferenceAlong)
{
    ref_ptr<Thing> from(new Thing);
    Thing* const thing = from.get();
    ref_ptr<Thing> to(std::move(from));
    EXPECT_EQ(to.get(), thing);

    ref_ptr<Thing> replaced(new Thing);
    replaced = std::move(to);
    EXPECT_EQ(replaced.get(), thing);
    EXPECT_EQ(living, 1);

    ref_ptr<Thing>& itself = replaced;
    replaced = std::move(itself);
    EXPECT_EQ(replaced.get(), thing);
    EXPECT_EQ(living, 1);
}

TEST_F(RefPtr, DeletesThroughTheVirtualDestructor)
{
    {
        const ref_ptr<Thing> pointer(new SpecialThing);
        EXPECT_EQ(SpecialThing::specialLiving, 1);
    }
    EXPECT_EQ(SpecialThing::specialLiving, 0);
}

TEST_F(RefPtr, ContainersShareTheObject)
{
    std::vector<ref_ptr<Thing>> things(3, ref_ptr<Thing>(new Thing));
    things.emplace_back(new Thing);
    EXPECT_EQ(living, 2);
    things.erase(things.begin(), things.begin() + 3);
    EXPECT_EQ(living, 1);
}

TEST_F(RefPtr, ReachesTheObject)
{
    const ref_ptr<Thing> pointer(new Thing);
    EXPECT_TRUE(pointer);
    EXPECT_TRUE(pointer->isCounted());
    EXPECT_EQ(&*pointer, pointer.get());
    EXPECT_TRUE(pointer != ref_ptr<Thing>());
}

/// An object whose destructor lets go of its own holder must not be deleted twice.
class Holder : public RefCounted<Holder> {
public:
    ~Holder() override { ++deleted; }
    ref_ptr<Holder> other;
    static int deleted;
};
int Holder::deleted = 0;

TEST_F(RefPtr, ResetHasForgottenTheObjectBeforeItIsDeleted)
{
    Holder::deleted = 0;
    ref_ptr<Holder> first(new Holder);
    first->other.reset(new Holder);
    first = ref_ptr<Holder>(first->other);  // the new object is held by the one that goes
    EXPECT_EQ(Holder::deleted, 1);
    first.reset();
    EXPECT_EQ(Holder::deleted, 2);
}

}  // namespace
