#include <memory>
#include <vector>

#include "lifecycle/application.h"
#include "lifecycle/application_register.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

using Applications = std::vector<Application*>;

/// Applications without a window: nobody but the register knows them.
class ApplicationRegisterTest : public LibraryTest {
protected:
    ApplicationRegisterTest()
    {
        for (auto* const application : {&first_, &second_, &third_})
            register_.add(application);
    }

    static HbbTVURL page() { return HbbTVURL("http://a.example/"); }

    Application first_{nullptr, page(), nullptr};
    Application second_{nullptr, page(), nullptr};
    Application third_{nullptr, page(), nullptr};
    ApplicationRegister register_;
};

TEST_F(ApplicationRegisterTest, ListsInCreationOrder)
{
    EXPECT_TRUE(ApplicationRegister().empty());
    EXPECT_EQ(ApplicationRegister().list(), Applications());
    EXPECT_FALSE(register_.empty());
    EXPECT_EQ(register_.list(), Applications({&first_, &second_, &third_}));
    EXPECT_EQ(register_.newest(), &third_);
}

TEST_F(ApplicationRegisterTest, FindsByIdAndByAddress)
{
    for (Application* const application : {&first_, &second_, &third_}) {
        EXPECT_TRUE(register_.contains(application));
        EXPECT_EQ(register_.idOf(application), application->getID());
        EXPECT_EQ(register_.find(application->getID()), application);
    }
    EXPECT_EQ(register_.find(0), nullptr);
    EXPECT_EQ(register_.find(third_.getID() + 1), nullptr);
}

TEST_F(ApplicationRegisterTest, ForgetsWhatIsRemovedAndNothingElse)
{
    register_.remove(&second_);
    register_.remove(&second_);
    EXPECT_FALSE(register_.contains(&second_));
    EXPECT_EQ(register_.idOf(&second_), 0u);
    EXPECT_EQ(register_.find(second_.getID()), nullptr);
    EXPECT_EQ(register_.list(), Applications({&first_, &third_}));
    register_.remove(&third_);
    EXPECT_EQ(register_.newest(), &first_);
    register_.remove(&first_);
    EXPECT_TRUE(register_.empty());
}

TEST_F(ApplicationRegisterTest, DoesNotFollowWhatItDoesNotHold)
{
    const auto block = std::make_unique<char>();
    const auto* const stranger = reinterpret_cast<const Application*>(block.get());
    register_.remove(stranger);
    for (const Application* const pointer : {stranger, static_cast<const Application*>(nullptr)}) {
        EXPECT_FALSE(register_.contains(pointer));
        EXPECT_EQ(register_.idOf(pointer), 0u);
    }
    EXPECT_EQ(register_.list(), Applications({&first_, &second_, &third_}));
}

/// The counter of ids is public.
TEST_F(ApplicationRegisterTest, KeepsTwoOfTheSameIdApart)
{
    Application::next_id = first_.getID();
    Application twin(nullptr, page(), nullptr);
    register_.add(&twin);
    EXPECT_EQ(register_.list(), Applications({&first_, &twin, &second_, &third_}));
    register_.remove(&first_);
    EXPECT_TRUE(register_.contains(&twin));
    EXPECT_EQ(register_.find(twin.getID()), &twin);
}

TEST_F(ApplicationRegisterTest, TakesAParentFromThoseThatHaveIt)
{
    second_.setParent(&first_);
    third_.setParent(&second_);
    EXPECT_TRUE(first_.hasBeenParent());
    EXPECT_FALSE(third_.hasBeenParent());
    register_.forgetParent(&first_);
    EXPECT_EQ(second_.getParent(), nullptr);
    EXPECT_EQ(third_.getParent(), &second_);
}

}  // namespace
