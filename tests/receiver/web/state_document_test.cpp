#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "receiver/web/state_document.h"
#include "tests/receiver/support/played_session.h"

namespace receiver {
namespace {

using Json = nlohmann::ordered_json;

/// The state after these commands have been run on samples/station.ts.
Json stateAfter(std::vector<std::string> lines)
{
    PlayedSession played;
    Json state;
    played.session().setEnding([&] { state = stateOf(played.session()); });
    lines.insert(lines.begin(), "wait loaded within 60");
    EXPECT_EQ(played.play(lines), exitSuccess) << played.problem();
    return state;
}

TEST(StateDocument, TellsOfTheStreamAndItsServices)
{
    const Json state = stateAfter({});
    EXPECT_EQ(state["version"], VESTA_VERSION);
    EXPECT_GT(state["time"], 0);
    EXPECT_GT(state["stream"]["packets"], 0);
    EXPECT_EQ(state["stream"]["network"], nullptr);
    EXPECT_EQ(state["services"],
              Json::parse(
                  R"([{"id": 28112, "name": "Made one", "signals_hbbtv": "yes", "tuned": true}])"));
}

TEST(StateDocument, TellsOfTheRunningApplicationAndItsWindow)
{
    const Json state = stateAfter({"show", "keyset RED+NUMERIC"});
    ASSERT_EQ(state["applications"].size(), 1u);
    const Json& application = state["applications"][0];
    EXPECT_EQ(application["application"], "a.2a01");
    EXPECT_EQ(application["window"], 1);
    EXPECT_EQ(application["broadcast_related"], true);
    EXPECT_EQ(application["shown"], true);
    EXPECT_EQ(application["parent"], nullptr);
    EXPECT_EQ(application["key_set"], 0x101);
    EXPECT_EQ(application["key_names"], Json({"RED", "NUMERIC"}));
    ASSERT_EQ(state["windows"].size(), 1u);
    EXPECT_EQ(state["windows"][0]["url"], application["url"]);
    EXPECT_EQ(state["windows"][0]["shown"], true);
    EXPECT_EQ(state["windows"][0]["loaded"], true);
    EXPECT_EQ(state["windows"][0]["has_keys"], true);
    EXPECT_EQ(state["pending"], Json::array());
}

TEST(StateDocument, TellsWhichApplicationsCouldStartAndWhyNot)
{
    const Json running = stateAfter({})["table"]["applications"];
    ASSERT_EQ(running.size(), 2u);
    EXPECT_EQ(running[0]["verdict"], "runs");
    EXPECT_EQ(running[0]["reason"], nullptr);
    EXPECT_EQ(running[0]["control_name"], "AUTOSTART");
    EXPECT_EQ(running[0]["urls"].size(), 2u);
    EXPECT_EQ(running[0]["profiles"], Json({"0x0000 with version 1.1.1"}));
    EXPECT_EQ(running[1]["application"], "a.2a02");
    EXPECT_EQ(running[1]["control_name"], "PRESENT");
    EXPECT_EQ(running[1]["verdict"], "can start");
    const Json offline = stateAfter({"http off"})["table"]["applications"][1];
    EXPECT_EQ(offline["verdict"], "cannot start");
    EXPECT_EQ(offline["reason"], "it comes by broadband, which is off");
}

TEST(StateDocument, WhatTheApplicationManagerDecidedIsTheReason)
{
    const Json refused =
        stateAfter({"answer start keep", "start a.2a02"})["table"]["applications"][1];
    EXPECT_EQ(refused["verdict"], "cannot start");
    EXPECT_EQ(refused["reason"].get<std::string>().substr(0, 21), "no, start of a.2a02: ");
}

TEST(StateDocument, ThereIsNoTableOfAServiceThatWasLeft)
{
    PlayedSession played("/dev/null");
    Json state;
    played.session().setEnding([&] { state = stateOf(played.session()); });
    played.play({"quit"});
    EXPECT_EQ(state["table"], nullptr);
    EXPECT_EQ(state["services"], Json::array());
    EXPECT_EQ(state["applications"], Json::array());
    EXPECT_EQ(state["carousels"], Json::array());
    EXPECT_EQ(state["carousel_bytes"], 0);
}

TEST(StateDocument, TellsOfCarouselsWithModulesAndFiles)
{
    const Json state = stateAfter({"wait file big.bin"});
    ASSERT_EQ(state["carousels"].size(), 1u);
    const Json& carousel = state["carousels"][0];
    EXPECT_EQ(carousel["component_tag"], 0x2A);
    EXPECT_EQ(carousel["modules_known"], carousel["modules"].size());
    EXPECT_EQ(carousel["modules"][0]["blocks"], carousel["modules"][0]["received"]);
    EXPECT_EQ(carousel["files_omitted"], 0);
    const auto isBig = [](const Json& file) { return file["path"] == "big.bin"; };
    const auto big = std::find_if(carousel["files"].begin(), carousel["files"].end(), isBig);
    ASSERT_NE(big, carousel["files"].end());
    EXPECT_EQ((*big)["size"], 300000);
    EXPECT_GT(state["carousel_bytes"], 300000);
}

TEST(StateDocument, TellsHowTheSwitchesStand)
{
    EXPECT_EQ(stateAfter({})["switches"],
              Json::parse(R"({"http": true, "timeshift": false, "profiles": 0, "start": "allow",
                              "request": "allow"})"));
    EXPECT_EQ(stateAfter({"http off", "timeshift on", "profiles 5", "answer start kill",
                          "answer request core"})["switches"],
              Json::parse(R"({"http": false, "timeshift": true, "profiles": 5, "start": "kill",
                              "request": "core"})"));
}

TEST(StateDocument, TheConsoleBrowserPaintsNothingButHasTheSource)
{
    PlayedSession played;
    Json state;
    Json page;
    bool hasOther = true;
    played.session().setEnding([&] {
        state = stateOf(played.session());
        const PageSource* const source = played.session().browser().sourceOf(1);
        ASSERT_NE(source, nullptr);
        page = jsonOf(1, *source);
        hasOther = played.session().browser().sourceOf(2) != nullptr;
    });
    ASSERT_EQ(played.play({"wait loaded within 60", "load big.bin", "wait loaded big.bin"}),
              exitSuccess);
    EXPECT_EQ(state["screen"]["paints"], false);
    EXPECT_EQ(state["screen"]["video"], nullptr);
    EXPECT_FALSE(hasOther);
    EXPECT_EQ(page["window"], 1);
    EXPECT_EQ(page["url"], "dvb://20fa.441.6dd0.2a/index.html");
    EXPECT_EQ(page["type"], "application/vnd.hbbtv.xhtml+xml");
    EXPECT_EQ(page["size"], 336);
    EXPECT_EQ(page["source"].get<std::string>().size(), 336u);
    EXPECT_EQ(page["is_cut"], false);
    EXPECT_EQ(page["resources"][0]["url"], page["url"]);
    EXPECT_EQ(page["resources"][0]["status"], 200);
    ASSERT_EQ(page["resources"].size(), 2u);
    EXPECT_EQ(page["resources"][1]["size"], 300000);
}

TEST(StateDocument, KeysHaveTheNamesThatTheCommandKnows)
{
    const Json keys = stateAfter({})["keys"];
    for (const char* const name : {"RED", "OK", "BACK", "PAGEDOWN", "INFO", "0", "9", "A", "Z"})
        EXPECT_NE(std::find(keys.begin(), keys.end(), name), keys.end()) << name;
    EXPECT_EQ(std::find(keys.begin(), keys.end(), "ENTER"), keys.end());  // another name for OK
}

TEST(StateDocument, TextsThatAreNoUnicodeBecomeSome)
{
    const std::string text = textOf({{"name", "\xFF<b>\x1b\xE2\x80\xAE"}});
    EXPECT_EQ(Json::parse(text)["name"], "\xEF\xBF\xBD<b>\x1b\xE2\x80\xAE");
    EXPECT_EQ(text.find("\xE2\x80\xAE"), std::string::npos);
}

}  // namespace
}  // namespace receiver
