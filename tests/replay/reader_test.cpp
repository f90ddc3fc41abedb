#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

#include "recorder/boundary/calls_in.h"
#include "recorder/boundary/calls_out.h"
#include "replay/expecting_stand.h"
#include "replay/reader.h"

namespace replay {
namespace {

/// Reads the arguments of one call.
template <typename Call>
class ReadCall {
public:
    explicit ReadCall(const char* json) : members(Json::parse(json)), reader(members, meaning)
    {
        call.asked(reader);
    }
    /// What the Writer makes of it.
    std::string written()
    {
        ExpectingStand stand(meaning, false);
        stand.expect(members);
        return askedText(call, stand);
    }

    Bodies bodies;
    Meaning meaning{bodies};
    Json members;
    Reader reader;
    Call call = {};
};

TEST(Reader, ReadsHandlesThatTheFirstRecordersDidNotWrite)
{
    ReadCall<recorder::HandleNotification> without(
        R"({"page":null,"event":0,"data":null,"handled":null})");
    EXPECT_EQ(without.reader.problem(), "");
    EXPECT_EQ(without.call.browser, nullptr);
    ReadCall<recorder::GetApplicationId> with(R"({"windowId":1,"reserved":"passed:1"})");
    EXPECT_EQ(with.reader.problem(), "");
    EXPECT_NE(with.call.reserved, nullptr);
    EXPECT_EQ(with.written(), with.members.dump());
}

TEST(Reader, ReadsWhatTheWriterWrote)
{
    ReadCall<recorder::SendEvent> section(
        R"({"type":"E_AIT_SECTION","section":"74f003010203","original_network_id":1,"transport_stream_id":2,"service_id":3,"channelHandle":"channel:1"})");
    EXPECT_EQ(section.reader.problem(), "");
    EXPECT_EQ(section.written(), section.members.dump());
    std::free(section.call.data->ait.section);
    std::free(section.call.data);

    ReadCall<recorder::KeySetSetValue> value(
        R"({"appId":"application:1","value":1023.5,"granted":null})");
    EXPECT_EQ(value.reader.problem(), "");
    EXPECT_EQ(value.call.granted, nullptr);
    EXPECT_EQ(value.written(), value.members.dump());

    ReadCall<recorder::HandleNotification> request(
        R"({"browser":"browser:1","page":"page:1","event":"TAVO_VESTA_EVT_XHR_PERMISSION","url":"a","second_url":null,"permission":2,"handled":-3})");
    EXPECT_EQ(request.reader.problem(), "");
    EXPECT_EQ(request.written(), request.members.dump());

    ReadCall<recorder::KeyInput> key(R"({"page":"page:1","event":null})");
    EXPECT_EQ(key.reader.problem(), "");
    EXPECT_EQ(key.call.event, nullptr);

    ReadCall<recorder::HandleNotification> unlisted(R"({"page":null,"event":4711,"handled":null})");
    EXPECT_EQ(unlisted.reader.problem(), "");
    EXPECT_EQ(unlisted.call.event, 4711);
    EXPECT_EQ(unlisted.call.handled, nullptr);
    EXPECT_NE(unlisted.call.data, nullptr);
}

TEST(Reader, GivesTheLibraryTextsThatItMayFree)
{
    ReadCall<recorder::SendEvent> event(
        R"({"type":"E_START_BROADCAST_INDEPENDENT_APPLICATION","window":"window:1","url":"a\u00e4"})");
    EXPECT_EQ(event.reader.problem(), "");
    EXPECT_STREQ(event.call.data->url.url, "a\xE4") << "one byte a character";
    std::free(event.call.data->url.url);
    std::free(event.call.data);

    ReadCall<recorder::SendEvent> none(R"({"type":"E_CHANNEL_CHANGE","data":null})");
    EXPECT_EQ(none.call.data, nullptr);
}

TEST(Reader, KnowsNumbersThatAreNone)
{
    for (const auto& [json, sign] : {std::pair(R"("inf")", 1), std::pair(R"("-inf")", -1)}) {
        ReadCall<recorder::KeySetSetValue> call(
            (std::string(R"({"appId":null,"granted":null,"value":)") + json + "}").c_str());
        EXPECT_EQ(call.reader.problem(), "");
        EXPECT_TRUE(std::isinf(call.call.value) && call.call.value * sign > 0);
    }
    ReadCall<recorder::KeySetSetValue> call(R"({"appId":null,"value":"nan","granted":null})");
    EXPECT_TRUE(std::isnan(call.call.value));
}

TEST(Reader, HasListenersWithNamesOfTheirOwn)
{
    Bodies bodies;
    Meaning meaning(bodies);
    const Json members = Json::parse(
        R"({"a":"listener:1","b":"listener:2","c":null,"d":"plugin:1","e":"callback:1"})");
    Reader reader(members, meaning);
    VestaHbbTV::HBBTV_NotificationListener a = nullptr;
    VestaHbbTV::HBBTV_NotificationListener b = nullptr;
    VestaHbbTV::HBBTV_NotificationListener again = nullptr;
    reader.listener("a", a);
    reader.listener("b", b);
    reader.listener("a", again);
    EXPECT_NE(a, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, again);
    reader.listener("c", b);
    EXPECT_EQ(b, nullptr);
    VEIF_ApplicationManagerListener manager = nullptr;
    VEIF_ApplicationDestroyedListener destroyed = nullptr;
    reader.plugin("d", manager);
    reader.plugin("d", destroyed);
    EXPECT_NE(manager, nullptr);
    EXPECT_NE(destroyed, nullptr);
    VestaHbbTV::HBBTV_StreamEventCallback callback = nullptr;
    reader.callback("e", callback);
    EXPECT_NE(callback, nullptr);
    EXPECT_EQ(reader.problem(), "");
}

TEST(Reader, HasNotAnyNumberOfListeners)
{
    Bodies bodies;
    Meaning meaning(bodies);
    for (size_t number = 0; number <= Listeners::most; ++number) {
        const Json members = {{"listener", "listener:" + std::to_string(number)}};
        Reader reader(members, meaning);
        VestaHbbTV::HBBTV_NotificationListener listener = nullptr;
        reader.listener("listener", listener);
        EXPECT_EQ(listener != nullptr, number < Listeners::most);
        EXPECT_EQ(reader.problem().empty(), number < Listeners::most);
    }
}

TEST(Reader, SaysWhichMemberIsWrong)
{
    using Event = recorder::SendEvent;
    const std::tuple<const char*, const char*> cases[] = {
        {R"({})", "\"type\" is missing"},
        {R"({"type":"E_NOTHING","data":null})", "\"type\" is no number that fits"},
        {R"({"type":99999999999,"data":null})", "\"type\" is no number that fits"},
        {R"({"type":"E_SUPPORTED_PROFILES","supportedProfiles":65536})",
         "\"supportedProfiles\" is no number that fits"},
        {R"({"type":"E_SUPPORTED_PROFILES","supportedProfiles":-1})",
         "\"supportedProfiles\" is no number that fits"},
        {R"({"type":"E_SUPPORTED_PROFILES","supportedProfiles":1.5})",
         "\"supportedProfiles\" is no number that fits"},
        {R"({"type":"E_TERMINATE_APPLICATION","window":"page:1"})", "\"window\" is no window"},
        {R"({"type":"E_TERMINATE_APPLICATION","window":7})", "\"window\" is no window"},
        {R"({"type":"E_START_BROADCAST_INDEPENDENT_APPLICATION","window":null,"url":7})",
         "\"url\" is no text of bytes"},
        {R"({"type":"E_START_BROADCAST_INDEPENDENT_APPLICATION","window":null,"url":"\u0000"})",
         "\"url\" is no text of bytes"},
        {R"({"type":"E_START_BROADCAST_INDEPENDENT_APPLICATION","window":null,"url":"\u20ac"})",
         "\"url\" is no text of bytes"},
        {R"({"type":"E_AIT_SECTION","section":"74f0"})", "\"section\" is no whole section"},
        {R"({"type":"E_AIT_SECTION","section":"74f00401"})", "\"section\" is no whole section"},
        {R"({"type":"E_AIT_SECTION","section":"74f0000"})", "\"section\" is no whole section"},
        {R"({"type":"E_AIT_SECTION","section":"74F000"})", "\"section\" is no whole section"},
    };
    for (const auto& [json, problem] : cases) {
        ReadCall<Event> event(json);
        EXPECT_EQ(event.reader.problem(), problem) << json;
        if (event.call.data && event.call.type == VestaHbbTV::E_AIT_SECTION)
            std::free(event.call.data->ait.section);
        std::free(event.call.data);
    }
    ReadCall<recorder::KeySetSetValue> text(R"({"appId":null,"value":"much","granted":null})");
    EXPECT_EQ(text.reader.problem(), "\"value\" is no number that fits");
    ReadCall<recorder::AddNotificationListener> listener(R"({"listener":"window:1"})");
    EXPECT_EQ(listener.reader.problem(), "\"listener\" is no listener");
}

TEST(Reader, FindsBodiesByTheirHashes)
{
    const std::string hash = "b5d4045c3f466fa91fe2cc6abe79232a1a57cdf104f7a26e716e0a1e2789df78";
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {R"({"length":3,"sha256":")" + hash + "\"}", "ABC", ""},
        {R"({"length":3,"sha256":null})", nullptr, ""},
        {R"({"length":3})", nullptr, ""},  // as null was written at first
        {R"({"length":4,"sha256":")" + hash + "\"}", nullptr,
         "\"bytes\" is a body that the record does not have, or not at this length"},
        {R"({"length":3,"sha256":"00"})", nullptr,
         "\"bytes\" is a body that the record does not have, or not at this length"},
        {R"({"length":-3,"sha256":"00"})", nullptr, "\"bytes\" is no body"},
        {R"("ABC")", nullptr, "\"bytes\" is no body"},
        {R"([])", nullptr, "\"bytes\" is no body"},
    };
    for (const auto& [json, expected, problem] : cases) {
        Bodies bodies;
        ASSERT_TRUE(bodies.add(hash, "ABC"));
        Meaning meaning(bodies);
        const Json members = {{"bytes", Json::parse(json)}};
        Reader reader(members, meaning);
        const void* bytes = nullptr;
        size_t length = 0;
        reader.body("bytes", bytes, length);
        EXPECT_EQ(reader.problem(), problem) << json;
        if (expected)
            EXPECT_STREQ(static_cast<const char*>(bytes), expected);
        else
            EXPECT_EQ(bytes, nullptr) << json;
    }
}

TEST(Reader, GivesAnswersOfTheBrowser)
{
    Bodies bodies;
    Meaning meaning(bodies);
    const Json members = Json::parse(R"({"result":0,"url":"http://a/"})");
    Reader reader(members, meaning);
    const char* url = nullptr;
    recorder::GetLoadingUrl call = {nullptr, &url, 1};
    call.answered(reader);
    EXPECT_EQ(reader.problem(), "");
    EXPECT_EQ(call.result, 0);
    EXPECT_STREQ(url, "http://a/");
}

}  // namespace
}  // namespace replay
