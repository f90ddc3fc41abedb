#include "tests/kit/ait_feed_test.h"

namespace VestaHbbTV {
namespace {

AITSection manyApplications(unsigned count)
{
    AITSection section;
    for (unsigned i = 1; i <= count; ++i)
        section.add(AITEntry(1, static_cast<uint16_t>(i)).withoutApplicationDescriptor());
    return section;
}

TEST_F(AITFeedTest, ATableOfTooManyApplicationsIsRefusedWhole)
{
    options.mostApplications = 10;
    make();
    takeReports();
    give(manyApplications(11));
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(takeReports(), Lines({"refused table 1 version 0 of 257"}));
    give(manyApplications(10));
    EXPECT_EQ(inForce(), "1 2 3 4 5 6 7 8 9 10");
}

TEST_F(AITFeedTest, ATableOfTooLongTextsIsRefusedWhole)
{
    const AITSection section = table(1, 1);
    options.mostTextBytes = 32;  // 3 + 1 + 17 + 1 of the transport, and 10 of the location
    make();
    takeReports();
    give(section);
    EXPECT_EQ(inForce(), "1");
    options.mostTextBytes = 31;
    make();
    takeReports();
    give(section);
    EXPECT_EQ(takeReports(), Lines({"refused table 2 version 1 of 257"}));
}

TEST_F(AITFeedTest, ATableOfTooManyLabelsIsRefusedWhole)
{
    options.mostLabels = 3;
    make();
    takeReports();
    give(AITSection().add(entry(1).labels({1, 2})).add(entry(2).labels({1, 2})));
    EXPECT_EQ(takeReports(), Lines({"refused table 3 version 0 of 257"}));
}

TEST_F(AITFeedTest, JoinedTablesHave256SectionsAtTheMost)
{
    options.joinsPIDs = 1;
    make();
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    for (unsigned number = 0; number < 256; ++number)
        give(AITSection().number(static_cast<uint8_t>(number), 255), pid);
    takeReports();
    give(AITSection(), otherPid);
    EXPECT_EQ(takeReports(), Lines({"refused table 4 version 0 of 258"}));
}

}  // namespace
}  // namespace VestaHbbTV
