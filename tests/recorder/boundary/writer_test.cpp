#include <gtest/gtest.h>

#include "recorder/boundary/calls_in.h"
#include "recorder/boundary/calls_out.h"
#include "recorder/boundary/writer.h"

using namespace recorder;

namespace {

/// Names what it is asked for, so that the text shows what was asked.
class Telling final : public Stand {
public:
    std::string nameOf(const char* member, Handle kind, uintptr_t value, bool isNew) override
    {
        return std::string(isNew ? "new " : "") + recorder::nameOf(kind) + ' ' +
               std::to_string(value) + " of " + member;
    }
    std::string hashOf(const void* bytes, size_t length) override
    {
        return "hash of " + std::string(static_cast<const char*>(bytes), length);
    }
    std::string urlFor(const char* member, std::string_view url) override
    {
        return std::string(member) + " " + std::string(url);
    }
    std::string textFor(const char*, std::string_view text) override { return std::string(text); }
};

/// The object that `write` writes.
template <typename Write>
std::string textOf(Write write)
{
    Telling stand;
    std::string json = "before:";
    Writer fields(json, stand);
    write(fields);
    fields.end();
    return json.substr(7);
}

void* at(uintptr_t address)
{
    return reinterpret_cast<void*>(address);
}

}  // namespace

TEST(Writer, SeparatesItsMembers)
{
    EXPECT_EQ(textOf([](Writer&) {}), "{}");
    EXPECT_EQ(textOf([](Writer& fields) { fields.number("a", 1); }), R"({"a":1})");
    EXPECT_EQ(textOf([](Writer& fields) {
                  fields.number("a", 1);
                  fields.text("b", "{");
                  fields.text("c", nullptr);
              }),
              R"({"a":1,"b":"{","c":null})");
}

TEST(Writer, AsksForTheNamesOfHandles)
{
    EXPECT_EQ(textOf([](Writer& fields) {
                  fields.handle("window", Handle::window, at(7));
                  fields.newHandle("id", Handle::file, at(8));
                  fields.handle("page", Handle::page, at(0));
              }),
              R"({"window":"window 7 of window","id":"new file 8 of id","page":null})");
}

TEST(Writer, WritesEnumeratorsByTheirNames)
{
    EXPECT_EQ(textOf([](Writer& fields) {
                  fields.choice("type", VestaHbbTV::E_LOW_MEMORY, eventTypes);
                  fields.choice("odd", static_cast<VestaHbbTV::HBBTV_EventType>(-3), eventTypes);
              }),
              R"({"type":"E_LOW_MEMORY","odd":-3})");
}

TEST(Writer, WritesUrlsAsTheyAreToBeWrittenDown)
{
    EXPECT_EQ(textOf([](Writer& fields) {
                  fields.url("url", "http://a/");
                  fields.url("none", nullptr);
              }),
              R"({"url":"url http://a/","none":null})");
}

TEST(Writer, WritesASectionUpToItsOwnLength)
{
    const unsigned char section[] = {0x74, 0xF0, 0x02, 0xAB, 0xCD, 0xEF};
    EXPECT_EQ(textOf([&](Writer& fields) {
                  fields.section("section", section);
                  fields.section("none", nullptr);
              }),
              R"({"section":"74f002abcd","none":null})");
}

TEST(Writer, WritesTheHashOfBytesAndThatThereAreNone)
{
    EXPECT_EQ(textOf([](Writer& fields) {
                  fields.body("bytes", "abc", 2u);
                  fields.body("lent", nullptr, 5u);
              }),
              R"({"bytes":{"length":2,"sha256":"hash of ab"},"lent":{"length":5,"sha256":null}})");
}

TEST(Writer, WritesOnlyTheLackOfRoomAndOfRecords)
{
    int place = 3;
    int* const none = nullptr;
    EXPECT_EQ(textOf([&](Writer& fields) {
                  fields.room("room", &place);
                  fields.room("no room", none);
                  EXPECT_TRUE(fields.record("record", &place));
                  EXPECT_FALSE(fields.record("no record", none));
              }),
              R"({"no room":null,"no record":null})");
}

TEST(Writer, WritesListsOfObjects)
{
    EXPECT_EQ(textOf([](Writer& fields) {
                  fields.list("empty", 0, [](Writer&, unsigned int) {});
                  fields.list("all", 2, [](Writer& element, unsigned int place) {
                      element.number("place", place);
                      element.number("twice", 2 * place);
                  });
                  fields.number("after", 1);
              }),
              R"({"empty":[],"all":[{"place":0,"twice":0},{"place":1,"twice":2}],"after":1})");
}

TEST(Writer, WritesWhatACallSaysAndWhatItGot)
{
    Telling stand;
    long number = 77;
    GetWindowOfApplication call{at(5), &number, VEIF_RETURN_OK};
    EXPECT_EQ(askedText(call, stand), R"({"appId":"application 5 of appId"})");
    EXPECT_EQ(answeredText(call, stand), R"({"result":0,"windowId":77})");
    call.result = VEIF_RETURN_ERROR;
    EXPECT_EQ(answeredText(call, stand), R"({"result":4})");
}
