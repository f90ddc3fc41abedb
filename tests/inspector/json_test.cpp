// The JSON is as the guide describes it: every key is there, and no other.

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "tests/inspector/support/call.h"
#include "tests/kit/xml_ait_text.h"

namespace inspector::test {
namespace {

using namespace receiver;
using nlohmann::json;

/// What a descriptor holds stands in the standard under the same names.
bool isListOfDescriptors(const std::string& key)
{
    return key.size() >= 11 && key.compare(key.size() - 11, 11, "descriptors") == 0;
}

using Types = std::map<std::string, std::set<std::string>>;

std::string typeOf(const json& value)
{
    return value.is_number() ? "number" : value.type_name();
}

/// "services[].pmt.sections[]" and the like, each with the types that it has.
void collect(const json& value, const std::string& path, Types& types)
{
    if (value.is_object()) {
        for (const auto& [key, child] : value.items()) {
            const std::string inner = path.empty() ? key : path + "." + key;
            types[inner].insert(typeOf(child));
            if (!isListOfDescriptors(key))
                collect(child, inner, types);
        }
    } else if (value.is_array()) {
        for (const json& child : value)
            collect(child, path + "[]", types);
    }
}

/// Sections of AITs and PMTs are wherever tables are: the guide has them once.
std::string withoutPlace(const std::string& path)
{
    static const std::regex tables(R"(^(services\[\]\.)?(aits\[\]|pmt|pats\[\]|sdts\[\])\.)");
    static const std::regex refused(R"(\.refused_sections\[\])");
    return std::regex_replace(std::regex_replace(path, tables, "TABLE."), refused, ".sections[]");
}

std::string guide()
{
    std::ifstream file(VESTA_PROJECT "/docs/signalling.md");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The first two columns of the tables between the marks.
std::map<std::string, std::string> describedKeys()
{
    const std::string text = guide();
    const size_t begin = std::min(text.find("<!-- schema: begin -->"), text.size());
    const std::string part = text.substr(begin, text.find("<!-- schema: end -->") - begin);
    std::map<std::string, std::string> keys;
    const std::regex row(R"(\n\| `([^`]+)` \| ([^|]+?) \|)");
    for (std::sregex_iterator match(part.begin(), part.end(), row), end; match != end; ++match)
        keys[(*match)[1]] = (*match)[2];
    return keys;
}

/// "number, null"
std::string joined(const std::set<std::string>& types)
{
    static const char* const order[] = {"object", "array", "number", "boolean", "string", "null"};
    std::string text;
    for (const char* const type : order) {
        if (types.count(type) != 0)
            text += (text.empty() ? "" : ", ") + std::string(type);
    }
    return text;
}

IorFields reference(const std::string& type, const std::string& key)
{
    IorFields fields;
    fields.typeId = type + std::string(1, '\0');
    fields.key = key;
    return fields;
}

/// A carousel with a stream event object, a name that leads nowhere and a compressed module that
/// is too short for its list.
Signal signalWithObjects()
{
    Signal signal;
    const Bytes module = makeGateway("root", {{"events", makeIor(reference("ste", "events"))},
                                              {"gone", makeIor(reference("fil", "gone"))}}) +
                         makeStreamEvents("events", {{"score", 1}});
    signal.module(module);
    std::vector<Bytes>& sections = signal["carousel"].sections;
    sections[1] = makeDii(0x80000002, {{1, uint32_t(module.size())}, {2, 1, 0, 0x2A, 10'000}});
    const PmtStream events = {0x0C, eventPid, makeDescriptor(0x52, {0x2B})};
    signal.streams({aitStream(), carouselStream(), events});
    signal["events"] = {eventPid, {makeStreamEventSection(1, 1, "goal")}};
    return signal;
}

/// A service of which nothing is known but its PAT, by no clock.
Signal signalOfPatAlone()
{
    Signal signal;
    for (const char* const name : {"pmt", "sdt", "ait", "carousel", "eit", "schedule"})
        signal.without(name);
    signal.hasClock = false;
    return signal;
}

/// A PAT that lists the network, and a carousel without a gateway.
Signal signalWithoutGateway()
{
    Signal signal;
    signal["pat"].sections = {makePat(1, 0, {{0, 0x10}, {serviceId, pmtPid}})};
    std::vector<Bytes>& sections = signal["carousel"].sections;
    sections.erase(sections.begin());
    return signal;
}

/// Two services of the same streams, with a section that is refused.
Signal signalOfTwoServices()
{
    Signal signal;
    signal["pat"].sections = {makePat(1, 0, {{1, 0x60}, {serviceId, pmtPid}})};
    signal["pmt of 1"] = {0x60, {makePmt(1, 0, {aitStream(), carouselStream()})}, 100};
    signal["test"] = {aitPid, {AITSection().applicationType(0x8010).bytes()}};
    return signal;
}

/// A PMT and an SDT with lengths that leave them.
Bytes malformedTables()
{
    Bytes pmt = makePmt(8, 0, {aitStream()});
    Bytes sdt = sdtWith(8, 0);
    pmt[16] = 0xFF;
    sdt[15] = 0xFF;
    VestaHbbTV::setChecksum(pmt);
    VestaHbbTV::setChecksum(sdt);
    return pmt + sdt;
}

class JsonOutput : public InFolder {
protected:
    static json read(const std::vector<std::string>& arguments)
    {
        const Answer answer = call(arguments);
        EXPECT_EQ(answer.errors, "");
        const json document = json::parse(answer.output);
        EXPECT_EQ(document["schema"], 1);
        return document;
    }

    /// Documents in which every key occurs, with every type that it has.
    std::vector<json> documents() const
    {
        using vesta::test::applicationText, vesta::test::documentBegin, vesta::test::documentEnd;
        const std::string right = write("right.ts", Signal().bytes());
        const std::string objects = write("objects.ts", signalWithObjects().bytes());
        const std::string pat = write("pat.ts", signalOfPatAlone().bytes());
        const std::string lost = write("lost.ts", signalWithoutGateway().bytes());
        const std::string two = write("two.ts", signalOfTwoServices().bytes());
        const std::string xml = write("ait.xml", documentBegin + applicationText + documentEnd);
        const std::string noXml = write("bad.xml", std::string("<a>"));
        const AITEntry longEntry = AITEntry(1, 1).loopLength(0xFFF);
        const std::string odd =
            write("odd.bin", AITSection().applicationType(0x11).commonLength(0xFFF).bytes() +
                                 AITSection().add(longEntry).bytes() + makeSection({0x4A, 1}, {}));
        const std::string malformed = write("malformed.bin", malformedTables());
        return {read({"dump", "--json", right, xml, noXml}),
                read({"dump", "--json", objects}),
                read({"dump", "--json", pat}),
                read({"dump", "--json", lost}),
                read({"dump", "--json", two}),
                read({"dump", "--json", odd}),
                read({"dump", "--json", malformed}),
                read({"check", "--json", odd, noXml}),
                read({"check", "--json", objects})};
    }
};

TEST_F(JsonOutput, HasTheKeysOfTheGuideAndNoOthers)
{
    Types types;
    for (const json& document : documents()) {
        Types all;
        collect(document, "", all);
        for (const auto& [path, found] : all)
            types[withoutPlace(path)].insert(found.begin(), found.end());
    }
    std::map<std::string, std::string> actual;
    for (const auto& [path, found] : types)
        actual[path] = joined(found);
    EXPECT_EQ(actual, describedKeys());
}

}  // namespace
}  // namespace inspector::test
