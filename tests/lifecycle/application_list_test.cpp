#include "lifecycle/application.h"
#include "lifecycle/application_list.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class ApplicationListTest : public LibraryTest {
protected:
    /// Gives its browser window back when it dies.
    std::unique_ptr<Application> make(long windowId) const
    {
        auto application =
            std::make_unique<Application>(window(), HbbTVURL("http://a.example/"), nullptr);
        application->setTavoWindow(browser().window(windowId));
        forgetJournal();
        return application;
    }
};

TEST_F(ApplicationListTest, GivesOutWhatCameLastFirst)
{
    ApplicationList list;
    EXPECT_TRUE(list.empty());
    for (const long windowId : {1, 2, 3})
        list.push(make(windowId));
    for (const long windowId : {3, 2, 1}) {
        ASSERT_FALSE(list.empty());
        EXPECT_EQ(list.pop()->getTavoWindow(), browser().window(windowId));
    }
    EXPECT_TRUE(list.empty());
}

TEST_F(ApplicationListTest, FreesWhatIsLeftInIt)
{
    {
        ApplicationList list;
        list.push(make(1));
        list.push(make(2));
    }
    EXPECT_EQ(journal(), Lines({"RELEASE w2", "RELEASE w1"}));
}

}  // namespace
