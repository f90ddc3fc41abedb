#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "receiver/carousel/object_carousel.h"
#include "receiver/stream/transport_stream.h"
#include "security/sha256.h"
#include "tests/receiver/support/recording_listener.h"

namespace receiver {
namespace {

using nlohmann::json;

constexpr uint8_t aitTable = 0x74;
constexpr uint8_t pmtTable = 0x02;

std::string sha256Of(const FileView& file)
{
    SHA256 hasher;
    hasher.input(reinterpret_cast<const char*>(file.data), static_cast<unsigned>(file.size));
    return hasher.getResultString();
}

struct Recording {
    const char* name;
    const char* folder;
};

void PrintTo(const Recording& recording, std::ostream* out)
{
    *out << recording.name;
}

// Plays a recording and compares what the receiver makes of it with the description beside it.
class RealStreams : public ::testing::TestWithParam<Recording> {
protected:
    void SetUp() override
    {
        const std::string base = std::string(GetParam().folder) + "/" + GetParam().name;
        std::ifstream description(base + ".json");
        if (!description.good())
            GTEST_SKIP() << base << ".json is not here";
        expected_ = json::parse(description);
        std::ifstream file(base + ".ts", std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        ASSERT_FALSE(bytes_.empty());
    }

    void play()
    {
        constexpr size_t pieceSize = 1000;  // no multiple of a packet
        for (size_t at = 0; at < bytes_.size(); at += pieceSize)
            stream_.feed(bytes_.data() + at, std::min(pieceSize, bytes_.size() - at));
        ASSERT_TRUE(stream_.finish());
    }

    // The listings of one table: PID and first section bytes that matter, in order of appearance.
    std::vector<json> describedSections(const char* table) const
    {
        std::vector<json> sections;
        for (const json& pid : expected_[table])
            for (json section : pid["sections_in_order_of_appearance"]) {
                section["pid"] = pid["pid"];
                sections.push_back(section);
            }
        return sections;
    }

    // Different sections of a PID's table, in order of appearance, with their repetitions.
    std::vector<std::pair<SectionBytes, unsigned>> received(uint16_t pid, uint8_t tableId)
    {
        std::vector<std::pair<SectionBytes, unsigned>> list;
        for (const SectionBytes& section : heard_.sections[pid]) {
            if (readSectionHeader(section).tableId != tableId)
                continue;
            auto entry = std::find_if(list.begin(), list.end(),
                                      [&](const auto& known) { return known.first == section; });
            if (entry == list.end())
                entry = list.insert(list.end(), {section, 0});
            ++entry->second;
        }
        return list;
    }

    void expectSections(const char* table, uint8_t tableId);

    std::vector<unsigned char> bytes_;
    json expected_;
    RecordingListener heard_;
    TransportStream stream_{heard_};
};

void RealStreams::expectSections(const char* table, uint8_t tableId)
{
    std::map<uint16_t, size_t> next;
    for (const json& description : describedSections(table)) {
        const uint16_t pid = description["pid"];
        const auto sections = received(pid, tableId);
        const size_t index = next[pid]++;
        ASSERT_LT(index, sections.size()) << table << " on PID " << pid;
        const auto& [section, repetitions] = sections[index];
        const SectionHeader header = readSectionHeader(section);
        EXPECT_EQ(section.size(), description["size"].get<size_t>());
        EXPECT_EQ(header.version, description["version"].get<unsigned>());
        EXPECT_EQ(header.current, description["current_next"].get<bool>());
        EXPECT_EQ(repetitions, description["times_received"].get<unsigned>());
        if (tableId == pmtTable)
            EXPECT_EQ(header.tableIdExtension, description["program_number"].get<unsigned>());
        else
            EXPECT_EQ(header.tableIdExtension & 0x7FFF,
                      description["application_type"].get<unsigned>());
    }
    for (const auto& [pid, count] : next)
        EXPECT_EQ(received(pid, tableId).size(), count) << table << " on PID " << pid;
}

TEST_P(RealStreams, EveryPacketAndServiceIsFound)
{
    play();
    EXPECT_EQ(stream_.statistics().packets, expected_["packets"].get<uint64_t>());
    EXPECT_EQ(stream_.framer().skippedBytes(), 0u);
    EXPECT_EQ(stream_.statistics().crcErrors, 0u);

    std::vector<std::tuple<unsigned, unsigned, unsigned>> wanted, found;
    for (const json& program : expected_["pat"])
        wanted.emplace_back(program["transport_stream_id"], program["program_number"],
                            program["pid"]);
    std::set<unsigned> networks;
    for (const Service& service : stream_.services()) {
        found.emplace_back(service.transportStreamId, service.programNumber, service.pmtPid);
        if (service.originalNetworkId)
            networks.insert(*service.originalNetworkId);
    }
    EXPECT_EQ(found, wanted);
    EXPECT_EQ(networks, expected_["sdt_original_network_ids"].get<std::set<unsigned>>());
}

TEST_P(RealStreams, EverySectionOfPmtAndAitArrivesAsOftenAsBroadcast)
{
    for (const char* table : {"pmt", "ait"})
        for (const json& pid : expected_[table])
            stream_.subscribe(pid["pid"]);
    play();
    expectSections("pmt", pmtTable);
    expectSections("ait", aitTable);
}

TEST_P(RealStreams, PmtsLeadToTheStreamsOfApplicationInformation)
{
    play();
    std::set<unsigned> listed, found;
    for (const json& pmt : describedSections("pmt")) {
        const auto program = pmt["program_number"].get<unsigned>();
        const bool inPat =
            std::any_of(expected_["pat"].begin(), expected_["pat"].end(), [&](const json& entry) {
                return entry["program_number"] == program && entry["pid"] == pmt["pid"];
            });
        for (const json& stream : pmt["streams"])
            if (inPat && stream["stream_type"] == 5)
                listed.insert(stream["elementary_pid"].get<unsigned>());
    }
    for (const auto& [service, section] : heard_.pmts)
        for (const StreamDescription& stream : readProgramMap(section).streams)
            if (stream.mayCarryApplicationInformation())
                found.insert(stream.pid);
    EXPECT_EQ(found, listed);
}

// The stream's own tag is what its DIIs call it: excerpts need not have a PMT.
uint16_t tagOf(const json& carousel)
{
    for (const json& dii : carousel["dii"])
        for (const json& module : dii["modules"]) {
            const std::string info = module["module_info_hex"];
            if (info.size() >= 38 && info.substr(30, 4) == "0017")
                return static_cast<uint16_t>(std::stoul(info.substr(34, 4), nullptr, 16));
        }
    return 0;
}

size_t completeModules(const json& carousel)
{
    size_t count = 0;
    for (const json& dii : carousel["dii"])
        for (const json& module : dii["modules"])
            count += module["complete"].get<bool>() ? 1U : 0U;
    return count;
}

TEST_P(RealStreams, CarouselsHoldTheFilesWithTheirHashes)
{
    for (const json& carousel : expected_["carousels"])
        stream_.subscribe(carousel["pid"]);
    play();
    for (const json& description : expected_["carousels"]) {
        const uint16_t pid = description["pid"];
        std::vector<std::string> problems;
        ObjectCarousel carousel({}, [&](const std::string& text) { problems.push_back(text); });
        for (const SectionBytes& section : heard_.sections[pid])
            carousel.feedSection(tagOf(description), section.data(), section.size());

        std::set<std::tuple<std::string, size_t, std::string>> wanted, found;
        for (const json& file : description["files"])
            wanted.emplace(file["path"], file["size"], file["sha256"]);
        const CarouselListing listing = carousel.list();
        for (const CarouselFile& file : listing.files) {
            found.emplace(file.path, file.file.size, sha256Of(file.file));
            EXPECT_EQ(carousel.find(file.path).result, Lookup::Result::Ready) << file.path;
        }
        EXPECT_EQ(found, wanted) << "PID " << pid;
        EXPECT_EQ(carousel.progress().modulesComplete, completeModules(description));
        EXPECT_TRUE(problems.empty()) << problems.front();
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, RealStreams,
                         ::testing::Values(Recording{"station", VESTA_SAMPLES},
                                           Recording{"real-1-three-aits", VESTA_SHARED_DATA "/ts"},
                                           Recording{"real-2-two-types", VESTA_SHARED_DATA "/ts"},
                                           Recording{"real-3-launcher", VESTA_SHARED_DATA "/ts"},
                                           Recording{"real-4-carousel", VESTA_SHARED_DATA "/ts"},
                                           Recording{"made-1-signal", VESTA_SHARED_DATA "/ts"}),
                         [](const auto& instance) {
                             std::string name = instance.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
}  // namespace receiver
