// Streams that others made, and described.

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>

#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

using nlohmann::json;

struct Recording {
    const char* name;
    const char* folder;
};

void PrintTo(const Recording& recording, std::ostream* out)
{
    *out << recording.name;
}

class Recordings : public testing::TestWithParam<Recording> {
protected:
    void SetUp() override
    {
        const std::string base = std::string(GetParam().folder) + "/" + GetParam().name;
        std::ifstream description(base + ".json");
        if (!description.good())
            GTEST_SKIP() << base << ".json is not here";
        expected_ = json::parse(description);
        std::ifstream file(base + ".ts", std::ios::binary);
        const Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        survey_ = surveyOf(bytes);
    }

    json expected_;
    std::unique_ptr<Survey> survey_;
};

TEST_P(Recordings, HaveTheServicesOfTheirDescription)
{
    std::set<unsigned> expected, actual;
    for (const json& program : expected_["pat"]) {
        if (program["program_number"] != 0)
            expected.insert(program["program_number"].get<unsigned>());
    }
    for (const auto& [id, service] : survey_->services)
        actual.insert(id);
    EXPECT_EQ(actual, expected);
}

TEST_P(Recordings, HaveTheTablesOfTheirDescription)
{
    std::set<std::pair<unsigned, unsigned>> expected, actual;
    for (const json& pid : expected_["ait"]) {
        for (const json& section : pid["sections_in_order_of_appearance"])
            expected.emplace(pid["pid"].get<unsigned>(),
                             section["application_type"].get<unsigned>());
    }
    for (const auto& [key, history] : survey_->aits)
        actual.emplace(*key.first.pid, key.second);
    EXPECT_EQ(actual, expected);
}

TEST_P(Recordings, HaveNoErrorsThatTheyAreNotKnownToHave)
{
    // They are excerpts, in which much of their carousels is missing.
    const std::set<std::string> known = {"pmt-missing", "carousel-no-gateway"};
    const Findings findings = check(*survey_);
    for (const Finding& finding : findings.all()) {
        if (finding.kind->severity != Severity::Error)
            continue;
        EXPECT_EQ(known.count(finding.kind->id), 1U) << finding.kind->id << ": " << finding.detail;
    }
}

std::string nameOfRecording(const testing::TestParamInfo<Recording>& recording)
{
    std::string name = recording.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, Recordings,
                         testing::Values(Recording{"station", VESTA_SAMPLES},
                                         Recording{"made-1-signal", VESTA_SHARED_DATA "/ts"},
                                         Recording{"real-1-three-aits", VESTA_SHARED_DATA "/ts"},
                                         Recording{"real-2-two-types", VESTA_SHARED_DATA "/ts"},
                                         Recording{"real-3-launcher", VESTA_SHARED_DATA "/ts"}),
                         nameOfRecording);

}  // namespace
}  // namespace inspector::test
