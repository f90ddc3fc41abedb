#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

#include "foundation/ref_ptr.h"
#include "signalling/ait.h"
#include "signalling/ait_application_reference.h"
#include "tests/support/counted_table.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

void fill(AIT& table, unsigned applications)
{
    AITSection section;
    for (unsigned i = 0; i < applications; ++i)
        section.add(AITEntry(10, static_cast<uint16_t>(i + 1)));
    ASSERT_TRUE(table.parse(section.exactBlock().get()));
}

AIT* makeTable(int& living, unsigned applications)
{
    AIT* const table = new CountedTable(living, 1, 2, 3);
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
    int living = 0;
    ref_ptr<AIT> table(makeTable(living, 1));
    AITApplicationReference reference(table->getAITApplication(0U));
    table.reset();
    AITApplicationReference& same = reference;
    reference = same;
    reference = std::move(same);
    ASSERT_EQ(living, 1);
    EXPECT_EQ(reference->getApplicationId(), 1);
    reference.reset();
    EXPECT_EQ(living, 0);
}

TEST(AITApplicationReference, KeepsACountedTableAlive)
{
    int living = 0;
    ref_ptr<AIT> table(makeTable(living, 2));
    AITApplicationReference reference(table->getAITApplication(1U));
    table.reset();
    ASSERT_EQ(living, 1);
    EXPECT_EQ(reference->getApplicationId(), 2);
    EXPECT_EQ(reference->getAIT()->getNumApplications(), 2U);
    reference.reset();
    EXPECT_EQ(living, 0);
    EXPECT_FALSE(reference);
}

TEST(AITApplicationReference, LetsTheTableGoWhenItDies)
{
    int living = 0;
    {
        ref_ptr<AIT> table(makeTable(living, 1));
        const AITApplicationReference reference(table->getAITApplication(0U));
        table.reset();
        EXPECT_EQ(living, 1);
    }
    EXPECT_EQ(living, 0);
}

TEST(AITApplicationReference, NeverDeletesATableThatNobodyCounts)
{
    int living = 0;
    const std::unique_ptr<AIT> table(makeTable(living, 1));
    {
        AITApplicationReference reference(table->getAITApplication(0U));
        EXPECT_FALSE(table->isCounted());
        reference.reset(table->getAITApplication(0U));
        reference.reset();
        reference.reset(table->getAITApplication(0U));
    }
    EXPECT_EQ(living, 1);
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
    int living = 0;
    AIT* const table = makeTable(living, 1);
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
    int living = 0;
    AIT* const table = makeTable(living, 1);
    const AITApplicationReference reference(table->getAITApplication(0U));
    ref_ptr<AIT> counted(table);
    counted.reset();
    EXPECT_EQ(living, 0);
    EXPECT_FALSE(reference);
}

TEST(AITApplicationReference, LetsTheTableGoWithAnApplicationThatWasNeverInserted)
{
    int living = 0;
    ref_ptr<AIT> table(makeTable(living, 1));
    auto application = std::make_unique<AITApplication>(table.get());
    const AITApplicationReference reference(application.get());
    const AITApplicationReference other(application.get());
    table.reset();
    EXPECT_EQ(living, 1);
    application.reset();
    EXPECT_EQ(living, 0);
    EXPECT_FALSE(reference);
    EXPECT_FALSE(other);
}

TEST(AITApplicationReference, MovesOverWithinATableThatOnlyItHolds)
{
    int living = 0;
    ref_ptr<AIT> table(makeTable(living, 2));
    AITApplicationReference reference(table->getAITApplication(0U));
    AITApplication* const other = table->getAITApplication(1U);
    table.reset();
    reference.reset(other);
    ASSERT_EQ(living, 1);
    EXPECT_EQ(reference.get(), other);
    reference.reset(reference.get());
    ASSERT_EQ(living, 1);
    EXPECT_EQ(reference->getApplicationId(), 2);
}

TEST(AITApplicationReference, LetsTheFormerTableGoOnlyAfterItPointsElsewhere)
{
    int formerLives = 0;
    int nextLives = 0;
    ref_ptr<AIT> former(makeTable(formerLives, 1));
    ref_ptr<AIT> next(makeTable(nextLives, 1));
    AITApplicationReference reference(former->getAITApplication(0U));
    AITApplicationReference beside(next->getAITApplication(0U));
    former.reset();
    reference.reset(next->getAITApplication(0U));
    EXPECT_EQ(formerLives, 0);
    EXPECT_EQ(reference.get(), next->getAITApplication(0U));
    next.reset();
    beside.reset();
    EXPECT_EQ(nextLives, 1);
    reference.reset();
    EXPECT_EQ(nextLives, 0);
}

TEST(AITApplicationReference, BecomesNullWhenTheNewApplicationDiesWithTheFormerTable)
{
    // The application has no table of its own, but one that dies with the reset owns it.
    int living = 0;
    ref_ptr<AIT> table(makeTable(living, 1));
    AITApplication* const foreign = new AITApplication(nullptr);
    table->insertAITApplication(foreign);
    AITApplicationReference reference(table->getAITApplication(10UL, 1));
    table.reset();
    ASSERT_EQ(living, 1);
    reference.reset(foreign);
    EXPECT_EQ(living, 0);
    EXPECT_FALSE(reference);
}

TEST(AITApplicationReference, CopiesAreIndependent)
{
    int living = 0;
    ref_ptr<AIT> table(makeTable(living, 2));
    AITApplicationReference first(table->getAITApplication(0U));
    AITApplicationReference copy(first);
    AITApplicationReference assigned;
    assigned = copy;
    table.reset();
    first.reset();
    copy.reset();
    ASSERT_EQ(living, 1);
    EXPECT_EQ(assigned->getApplicationId(), 1);
    const AITApplicationReference& self = assigned;
    assigned = self;
    ASSERT_EQ(living, 1);
    EXPECT_EQ(assigned->getApplicationId(), 1);
    assigned = AITApplicationReference();
    EXPECT_EQ(living, 0);
}

TEST(AITApplicationReference, IsNullAfterItWasMovedAway)
{
    int living = 0;
    ref_ptr<AIT> table(makeTable(living, 1));
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
    ASSERT_EQ(living, 1);
    EXPECT_EQ(third->getApplicationId(), 1);
    third.reset();
    EXPECT_EQ(living, 0);
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
    int living = 0;
    AIT* const maker = makeTable(living, 0);
    AIT* const owner = new AIT(4, 5, 6, nullptr);
    AITApplication* const application = new AITApplication(maker);
    owner->insertAITApplication(application);
    delete maker;
    const AITApplicationReference reference(application);
    EXPECT_EQ(application->getAIT(), owner);
    delete owner;
    EXPECT_FALSE(reference);
}
