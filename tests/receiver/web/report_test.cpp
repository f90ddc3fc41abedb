#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "receiver/web/chronicle.h"
#include "receiver/web/page_files.h"
#include "receiver/web/report.h"

namespace receiver {
namespace {

using Json = nlohmann::json;

class ReportTest : public ::testing::Test {
protected:
    std::string report() const { return reportOf(chronicle_, head_); }

    Json record() const
    {
        const std::string document = report();
        const std::string opening = R"(<script type="application/json" id="record">)";
        const size_t begin = document.find(opening) + opening.size();
        return Json::parse(document.substr(begin, document.find("</script>", begin) - begin));
    }

    std::ostringstream out_;
    EventLog log_{out_, false};
    Chronicle chronicle_{log_};
    ReportHead head_ = {"a stream.ts", 12.5, ""};
};

TEST_F(ReportTest, HoldsWhatHappened)
{
    log_.report(Source::Air, "service", "service 1 found", {{"service", 1}});
    log_.report(Source::User, "key", "key RED");
    head_.state = R"({"version":"1"})";
    const Json record = this->record();
    EXPECT_EQ(record["input"], "a stream.ts");
    EXPECT_EQ(record["duration"], 12.5);
    EXPECT_EQ(record["run"], chronicle_.run());
    EXPECT_EQ(record["omitted"], 0);
    EXPECT_EQ(record["happenings"].size(), 2u);
    EXPECT_EQ(record["happenings"][1]["text"], "key RED");
    EXPECT_EQ(record["state"]["version"], "1");
}

TEST_F(ReportTest, IsWholeWithoutAnyHappeningAndWithoutAState)
{
    const Json record = this->record();
    EXPECT_EQ(record["happenings"], Json::array());
    EXPECT_EQ(record["state"], nullptr);
}

TEST_F(ReportTest, NeedsNothingButItself)
{
    const std::string document = report();
    for (const char* const reference :
         {" src=", "<link", "@import", "url(", "<!-- SCRIPTS", "<!-- STYLE", "<!-- RECORD"})
        EXPECT_EQ(document.find(reference), std::string::npos) << reference;
    EXPECT_NE(document.find(std::string(pageFile("style.css"))), std::string::npos);
    EXPECT_NE(document.find(std::string(pageFile("report.js"))), std::string::npos);
    EXPECT_FALSE(pageFile("report.js").empty());
}

TEST_F(ReportTest, TextsFromTheAirCannotEndTheRecord)
{
    const std::string hostile =
        "</script><script>alert(1)</script><!--\xE2\x80\xA8\xE2\x80\xAE\x1b";
    log_.report(Source::Air, "service", hostile, {{"name", hostile}});
    head_.input = hostile;
    const std::string document = report();
    EXPECT_EQ(document.find("<script>alert"), std::string::npos);
    EXPECT_EQ(document.find("\x1b"), std::string::npos);
    EXPECT_EQ(document.find("\xE2\x80\xAE"), std::string::npos);
    const Json record = this->record();
    EXPECT_EQ(record["happenings"][0]["text"], hostile);
    EXPECT_EQ(record["happenings"][0]["details"]["name"], hostile);
    EXPECT_EQ(record["input"], hostile);
}

TEST(PageFiles, AreThereByTheirNames)
{
    for (const char* const name : {"index.html", "style.css", "report.html", "icon.svg"})
        EXPECT_FALSE(pageFile(name).empty()) << name;
    EXPECT_TRUE(pageFile("nothing").empty());
    EXPECT_TRUE(pageFile("").empty());
}

}  // namespace
}  // namespace receiver
