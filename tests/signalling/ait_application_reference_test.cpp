#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

#include "foundation/ref_ptr.h"
#include "signalling/ait.h"
#include "signalling/ait_application_reference.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// Tells when it dies.
class WatchedAIT : public AIT {
public:
    explicit WatchedAIT(bool& alive) : AIT(1, 2, 3, nullptr), alive_(alive) { alive_ = true; }
    ~WatchedAIT() override { alive_ = false; }

private:
    bool& alive_;
};

void fill(AIT& table, unsigned applications)
{
    AITSection section;
    for (unsigned i = 0; i < applications; ++i)
        section.add(AITEntry(10, static_cast<uint16_t>(i + 1)));
    ASSERT_TRUE(table.parse(section.exactBlock().get()));
}

AIT* makeTable(bool& alive, unsigned applications)
{
    AIT* const table = new WatchedAIT(alive);
    fill(*table, applications);
    return table;
}

}  // namespace

TEST(AITApplicationReference, IsNullUnlessSet)
{
    AITApplicationReference reference;
    EXPECT_EQ(reference.get(), nullptr);
    EXPECT_FALSE(reference);
    reference.reset();
    reference.reset(nullptr);
    EXPECT_FALSE(reference);
    EXPECT_FALSE(AITApplicationReference(nullptr));
}

TEST(AITApplicationReference, GivesTheApplicationThatItPointsAt)
{
    AITApplication application(nullptr);
    application.setApplicationId(7);
    const AITApplicationReference reference(&application);
    EXPECT_TRUE(reference);
    EXPECT_EQ(reference.get(), &application);
    EXPECT_EQ(reference->getApplicationId(), 7);
    EXPECT_EQ(&*reference, &application);
}

TEST(AITApplicationReference, AssignedToItselfKeepsItsTable)
{
    bool alive = false;
    ref_ptr<AIT> table(makeTable(alive, 1));
    AITApplicationReference reference(table->getAITApplication(0U));
    table.reset();
    AITApplicationReference& same = reference;
    reference = same;
    reference = std::move(same);
    ASSERT_TRUE(alive);
    EXPECT_EQ(reference->getApplicationId(), 1);
    reference.reset();
    EXPECT_FALSE(alive);
}

TEST(AITApplicationReference, KeepsACountedTableAlive)
{
    bool alive = false;
    ref_ptr<AIT> table(makeTable(alive, 2));
    AITApplicationReference reference(table->getAITApplication(1U));
    table.reset();
    ASSERT_TRUE(alive);
    EXPECT_EQ(reference->getApplicationId(), 2);
    EXPECT_EQ(reference->getAIT()->getNumApplications(), 2U);
    reference.reset();
    EXPECT_FALSE(alive);
    EXPECT_FALSE(reference);
}

TEST(AITApplicationReference, LetsTheTableGoWhenItDies)
{
    bool alive = false;
    {
        ref_ptr<AIT> table(makeTable(alive, 1));
        const AITApplicationReference reference(table->getAITApplication(0U));
        table.reset();
        EXPECT_TRUE(alive);
    }
    EXPECT_FALSE(alive);
}

TEST(AITApplicationReference, NeverDeletesATableThatNobodyCounts)
{
    bool alive = false;
    const std::unique_ptr<AIT> table(makeTable(alive, 1));
    {
        AITApplicationReference reference(table->getAITApplication(0U));
        EXPECT_FALSE(table->isCounted());
        reference.reset(table->getAITApplication(0U));
        reference.reset();
        reference.reset(table->getAITApplication(0U));
    }
    EXPECT_TRUE(alive);
    EXPECT_EQ(table->getNumApplications(), 1U);
}

TEST(AITApplicationReference, BecomesNullWithATableOnTheStack)
{
    std::vector<AITApplicationReference> references;
    {
        AIT table(1, 2, 3, nullptr);
        fill(table, 2);
        for (unsigned i : {0U, 1U, 0U})
            references.emplace_back(table.getAITApplication(i));
        for (const auto& reference : references)
            EXPECT_TRUE(reference);
    }
    for (auto& reference : references) {
        EXPECT_FALSE(reference);
        reference.reset();
    }
}

TEST(AITApplicationReference, BecomesNullWithATableByPlainNew)
{
    bool alive = false;
    AIT* const table = makeTable(alive, 1);
    AITApplicationReference reference(table->getAITApplication(0U));
    delete table;
    EXPECT_EQ(reference.get(), nullptr);
}

TEST(AITApplicationReference, BecomesNullWithAnApplicationWithoutATable)
{
    auto application = std::make_unique<AITApplication>(nullptr);
    const AITApplicationReference first(application.get());
    const AITApplicationReference second(application.get());
    application.reset();
    EXPECT_FALSE(first);
    EXPECT_FALSE(second);
}

TEST(AITApplicationReference, SetBeforeTheTableWasCountedBecomesNullWithIt)
{
    bool alive = false;
    AIT* const table = makeTable(alive, 1);
    const AITApplicationReference reference(table->getAITApplication(0U));
    ref_ptr<AIT> counted(table);
    counted.reset();
    EXPECT_FALSE(alive);
    EXPECT_FALSE(reference);
}

TEST(AITApplicationReference, LetsTheTableGoWithAnApplicationThatWasNeverInserted)
{
    bool alive = false;
    ref_ptr<AIT> table(makeTable(alive, 1));
    auto application = std::make_unique<AITApplication>(table.get());
    const AITApplicationReference reference(application.get());
    const AITApplicationReference other(application.get());
    table.reset();
    EXPECT_TRUE(alive);
    application.reset();
    EXPECT_FALSE(alive);
    EXPECT_FALSE(reference);
    EXPECT_FALSE(other);
}

TEST(AITApplicationReference, MovesOverWithinATableThatOnlyItHolds)
{
    bool alive = false;
    ref_ptr<AIT> table(makeTable(alive, 2));
    AITApplicationReference reference(table->getAITApplication(0U));
    AITApplication* const other = table->getAITApplication(1U);
    table.reset();
    reference.reset(other);
    ASSERT_TRUE(alive);
    EXPECT_EQ(reference.get(), other);
    reference.reset(reference.get());
    ASSERT_TRUE(alive);
    EXPECT_EQ(reference->getApplicationId(), 2);
}

TEST(AITApplicationReference, LetsTheFormerTableGoOnlyAfterItPointsElsewhere)
{
    bool formerAlive = false;
    bool nextAlive = false;
    ref_ptr<AIT> former(makeTable(formerAlive, 1));
    ref_ptr<AIT> next(makeTable(nextAlive, 1));
    AITApplicationReference reference(former->getAITApplication(0U));
    AITApplicationReference beside(next->getAITApplication(0U));
    former.reset();
    reference.reset(next->getAITApplication(0U));
    EXPECT_FALSE(formerAlive);
    EXPECT_EQ(reference.get(), next->getAITApplication(0U));
    next.reset();
    beside.reset();
    EXPECT_TRUE(nextAlive);
    reference.reset();
    EXPECT_FALSE(nextAlive);
}

TEST(AITApplicationReference, BecomesNullWhenTheNewApplicationDiesWithTheFormerTable)
{
    // The application has no table of its own, but one that dies with the reset owns it.
    bool alive = false;
    ref_ptr<AIT> table(makeTable(alive, 1));
    AITApplication* const foreign = new AITApplication(nullptr);
    table->insertAITApplication(foreign);
    AITApplicationReference reference(table->getAITApplication(10UL, 1));
    table.reset();
    ASSERT_TRUE(alive);
    reference.reset(foreign);
    EXPECT_FALSE(alive);
    EXPECT_FALSE(reference);
}

TEST(AITApplicationReference, CopiesAreIndependent)
{
    bool alive = false;
    ref_ptr<AIT> table(makeTable(alive, 2));
    AITApplicationReference first(table->getAITApplication(0U));
    AITApplicationReference copy(first);
    AITApplicationReference assigned;
    assigned = copy;
    table.reset();
    first.reset();
    copy.reset();
    ASSERT_TRUE(alive);
    EXPECT_EQ(assigned->getApplicationId(), 1);
    const AITApplicationReference& self = assigned;
    assigned = self;
    ASSERT_TRUE(alive);
    EXPECT_EQ(assigned->getApplicationId(), 1);
    assigned = AITApplicationReference();
    EXPECT_FALSE(alive);
}

TEST(AITApplicationReference, IsNullAfterItWasMovedAway)
{
    bool alive = false;
    ref_ptr<AIT> table(makeTable(alive, 1));
    AITApplicationReference first(table->getAITApplication(0U));
    table.reset();
    AITApplicationReference second(std::move(first));
    EXPECT_EQ(first.get(), nullptr);  // NOLINT(bugprone-use-after-move): that is what is tested
    EXPECT_TRUE(second);
    AITApplicationReference third;
    third = std::move(second);
    EXPECT_EQ(second.get(), nullptr);  // NOLINT(bugprone-use-after-move)
    AITApplicationReference& self = third;
    third = std::move(self);
    ASSERT_TRUE(alive);
    EXPECT_EQ(third->getApplicationId(), 1);
    third.reset();
    EXPECT_FALSE(alive);
}

TEST(AITApplicationReference, StandsInTheListWhicheverNeighbourGoesFirst)
{
    for (size_t first = 0; first < 3; ++first) {
        for (size_t second = 0; second < 3; ++second) {
            AIT table(1, 2, 3, nullptr);
            fill(table, 1);
            std::vector<std::unique_ptr<AITApplicationReference>> references;
            for (int i = 0; i < 3; ++i)
                references.push_back(
                    std::make_unique<AITApplicationReference>(table.getAITApplication(0U)));
            references[first].reset();
            references[second].reset();
            for (const auto& reference : references) {
                if (reference) {
                    EXPECT_EQ(reference->get(), table.getAITApplication(0U));
                }
            }
        }
    }
}

TEST(AITApplicationReference, PointedElsewhereLeavesTheListsThatItStoodIn)
{
    auto application = std::make_unique<AITApplication>(nullptr);
    auto* const other = new AITApplication(nullptr);
    const AITApplicationReference oldest(application.get());
    AITApplicationReference middle(application.get());
    const AITApplicationReference newest(application.get());
    middle.reset(other);
    middle.reset();
    application.reset();
    ASSERT_FALSE(oldest);
    ASSERT_FALSE(newest);
    delete other;
}

TEST(AITApplicationReference, BecomesNullWithTheTableThatAdoptedTheApplication)
{
    bool alive = false;
    AIT* const maker = makeTable(alive, 0);
    AIT* const owner = new AIT(4, 5, 6, nullptr);
    AITApplication* const application = new AITApplication(maker);
    owner->insertAITApplication(application);
    delete maker;
    const AITApplicationReference reference(application);
    EXPECT_EQ(application->getAIT(), owner);
    delete owner;
    EXPECT_FALSE(reference);
}
