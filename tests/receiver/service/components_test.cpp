#include <cstddef>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "receiver/service/components.h"
#include "tests/receiver/support/information_builder.h"

namespace receiver {
namespace {

using Type = Component::Type;

Bytes tagged(unsigned tag, const Bytes& descriptors = {})
{
    return makeDescriptor(0x52, ByteWriter().u8(tag)) + descriptors;
}

Bytes language(const std::string& code, unsigned audioType = 0)
{
    return makeDescriptor(0x0A, ByteWriter().add(code).u8(audioType));
}

/// "video 256/1 AVC_HD_25 1.78; audio 257/2 HEAAC deu 2ch encrypted described impaired".
std::string textOf(const std::vector<Component>& components)
{
    const char* const types[] = {"video", "audio", "subtitle"};
    std::ostringstream text;
    for (const Component& component : components) {
        text << (text.str().empty() ? "" : "; ") << types[int(component.type)] << " "
             << component.pid;
        if (component.componentTag)
            text << "/" << unsigned(*component.componentTag);
        if (!component.encoding.empty())
            text << " " << component.encoding;
        if (component.aspectRatio)
            text << " " << *component.aspectRatio;
        if (!component.language.empty())
            text << " " << component.language;
        if (component.audioChannels != 0)
            text << " " << component.audioChannels << "ch";
        text << (component.isEncrypted ? " encrypted" : "")
             << (component.hasAudioDescription ? " described" : "")
             << (component.isForHearingImpaired ? " impaired" : "");
    }
    return text.str();
}

std::string componentsOf(const std::vector<PmtStream>& streams, const Bytes& presentEvent = {})
{
    return textOf(readComponents(makePmt(1, 0, streams), presentEvent));
}

TEST(Components, StreamTypesTellVideoAndAudio)
{
    EXPECT_EQ(componentsOf({{0x01, 1, {}},
                            {0x02, 2, {}},
                            {0x1B, 3, {}},
                            {0x24, 4, {}},
                            {0x03, 5, {}},
                            {0x04, 6, {}},
                            {0x0F, 7, {}},
                            {0x11, 8, {}},
                            {0x05, 9, {}},
                            {0x06, 10, {}},
                            {0x0B, 11, {}}}),
              "video 1; video 2; video 3; video 4; audio 5 MPEG1_L2; audio 6 MPEG1_L2; "
              "audio 7 HEAAC; audio 8 HEAAC");
}

TEST(Components, DescriptorsTellPrivateStreams)
{
    EXPECT_EQ(componentsOf({{0x06, 1, makeDescriptor(0x6A, {0})},
                            {0x06, 2, makeDescriptor(0x7A, {0})},
                            {0x06, 3, makeDescriptor(0x7B, {0})},
                            {0x06, 4, makeDescriptor(0x7C, {0})},
                            {0x06, 5, makeDescriptor(0x7F, {0x15})},
                            {0x06, 6, makeDescriptor(0x45, {0})},
                            {0x05, 7, makeDescriptor(0x6A, {0})}}),
              "audio 1 AC3; audio 2 E-AC3; audio 3 DTS; audio 4 HEAAC; audio 5");
}

TEST(Components, AudioHasALanguageAndAnAudience)
{
    const Bytes supplementary[] = {makeDescriptor(0x7F, {0x06, 0x05, 'f', 'r', 'a'}),
                                   makeDescriptor(0x7F, {0x06, 0x08, 'f', 'r', 'a'}),
                                   makeDescriptor(0x7F, {0x06, 0x05, 'f'})};
    EXPECT_EQ(componentsOf({{0x04, 1, tagged(2, language("deu"))},
                            {0x04, 2, language("deu", 2)},
                            {0x04, 3, language("deu", 3)},
                            {0x04, 4, language("deu") + supplementary[0]},
                            {0x04, 5, language("deu") + supplementary[1]},
                            {0x04, 6, language("deu") + supplementary[2]}}),
              "audio 1/2 MPEG1_L2 deu; audio 2 MPEG1_L2 deu impaired; "
              "audio 3 MPEG1_L2 deu described; audio 4 MPEG1_L2 fra described; "
              "audio 5 MPEG1_L2 deu impaired; audio 6 MPEG1_L2 deu described");
}

TEST(Components, ALanguageIsThreeLetters)
{
    EXPECT_EQ(componentsOf({{0x04, 1, language("DEU")},
                            {0x04, 2, language("d\xFFu")},
                            {0x04, 3, language(std::string("de\0", 3))},
                            {0x06, 4, makeDescriptor(0x59, Bytes(8, 0x80))}}),
              "audio 1 MPEG1_L2 DEU; audio 2 MPEG1_L2; audio 3 MPEG1_L2; subtitle 4 DVB-SUBT");
}

TEST(Components, Ac3DescriptorsTellChannelsAndAudience)
{
    EXPECT_EQ(componentsOf({{0x06, 1, makeDescriptor(0x6A, {0x80, 0x42})},
                            {0x06, 2, makeDescriptor(0x6A, {0x80, 0x44})},
                            {0x06, 3, makeDescriptor(0x7A, {0x80, 0x10})},
                            {0x06, 4, makeDescriptor(0x7A, {0xC0, 0x1A})},
                            {0x06, 5, makeDescriptor(0x6A, {0x80})}}),
              "audio 1 AC3 2ch; audio 2 AC3 6ch; audio 3 E-AC3 1ch described; "
              "audio 4 E-AC3 2ch impaired; audio 5 AC3");
}

TEST(Components, SubtitlesAreOneForEachLanguage)
{
    const Bytes subtitling = makeDescriptor(0x59, ByteWriter()
                                                      .add(std::string("deu\x10"))
                                                      .u32(0)
                                                      .add(std::string("fra\x20"))
                                                      .u32(0)
                                                      .add(std::string("cut")));
    const Bytes teletext = makeDescriptor(0x56, ByteWriter().add(std::string("deu\x09\x01"
                                                                             "deu\x10\x02"
                                                                             "fra\x28\x03"
                                                                             "cut")));
    EXPECT_EQ(componentsOf({{0x06, 1, tagged(7, subtitling)}, {0x06, 2, teletext}}),
              "subtitle 1/7 DVB-SUBT deu; subtitle 1/7 DVB-SUBT fra impaired; "
              "subtitle 2 EBU-SUBT deu; subtitle 2 EBU-SUBT fra impaired");
}

TEST(Components, AConditionalAccessDescriptorMeansEncrypted)
{
    const Bytes access = makeDescriptor(0x09, {0, 0, 0xE0, 0});
    EXPECT_EQ(componentsOf({{0x1B, 1, access}, {0x04, 2, {}}}),
              "video 1 encrypted; audio 2 MPEG1_L2");
    ByteWriter whole;
    whole.u16(0xE100).u16(0xF000 | unsigned(access.size())).add(access);
    whole.u8(0x1B).u16(0xE001).u16(0xF000);
    EXPECT_EQ(textOf(readComponents(makeSection({0x02, 1}, whole), {})), "video 1 encrypted");
}

TEST(Components, ThePresentEventTellsShapeAndSizeOfVideo)
{
    const std::tuple<unsigned, unsigned, const char*> cases[] = {
        {0x1, 0x01, " MPEG2_SD_25 1.33"},
        {0x1, 0x02, " MPEG2_SD_25 1.78"},
        {0x1, 0x03, " MPEG2_SD_25 1.78"},
        {0x1, 0x04, " MPEG2_SD_25 2.21"},
        {0x1, 0x05, " MPEG2_SD_30 1.33"},
        {0x1, 0x0B, " MPEG2_HD_25 1.78"},
        {0x1, 0x10, " MPEG2_HD_30 2.21"},
        {0x5, 0x01, " AVC_SD_25 1.33"},
        {0x5, 0x03, " AVC_SD_25 1.78"},
        {0x5, 0x0B, " AVC_HD_25 1.78"},
        {0x5, 0x80, " 1.78"},
        {0x9, 0x04, " 1.78"},
        {0x1, 0x00, ""},
        {0x5, 0x11, ""},
        {0x5, 0xFF, ""},
        {0x1, 0x80, ""},
        {0x3, 0x01, ""},
        {0x2, 0x03, ""},
    };
    for (const auto& [content, type, expected] : cases)
        EXPECT_EQ(componentsOf({{0x1B, 1, tagged(5)}}, makeComponentDescriptor(content, type, 5)),
                  "video 1/5" + std::string(expected))
            << content << " " << type;
}

TEST(Components, ThePresentEventTellsChannelsAndAudienceOfAudio)
{
    const std::tuple<unsigned, unsigned, const char*> cases[] = {
        {0x2, 0x01, " 1ch"},       {0x2, 0x03, " 2ch"},      {0x2, 0x05, " 6ch"},
        {0x2, 0x40, " described"}, {0x2, 0x41, " impaired"}, {0x6, 0x02, " 2ch"},
        {0x6, 0x40, " described"}, {0x4, 0x44, " 6ch"},      {0x4, 0x12, " 2ch described"},
        {0x1, 0x03, ""},           {0x7, 0x01, ""},
    };
    for (const auto& [content, type, expected] : cases)
        EXPECT_EQ(componentsOf({{0x0F, 1, tagged(5)}}, makeComponentDescriptor(content, type, 5)),
                  "audio 1/5 HEAAC" + std::string(expected))
            << content << " " << type;
}

TEST(Components, AComponentDescriptorIsThatOfTheStreamWithItsTag)
{
    const Bytes event = makeShortEvent("a") + makeComponentDescriptor(0x1, 0x03, 6) +
                        makeComponentDescriptor(0x1, 0x01, 5) +
                        makeComponentDescriptor(0x1, 0x03, 5) + makeDescriptor(0x50, {0xF1, 1});
    EXPECT_EQ(componentsOf({{0x02, 1, tagged(5)}, {0x02, 2, tagged(6)}, {0x02, 3, {}}}, event),
              "video 1/5 MPEG2_SD_25 1.33; video 2/6 MPEG2_SD_25 1.78; video 3");
}

TEST(Components, CutShortAtEveryLengthTheyKeepWhatIsWhole)
{
    const Bytes pmt = makePmt(1, 0, {{0x1B, 1, tagged(5)}, {0x04, 2, language("deu")}});
    const Bytes event = makeComponentDescriptor(0x5, 0x03, 5);
    for (size_t size = 0; size < pmt.size(); ++size)
        EXPECT_LE(
            readComponents(Bytes(pmt.begin(), pmt.begin() + std::ptrdiff_t(size)), event).size(),
            1u);
    for (size_t size = 0; size < event.size(); ++size)
        EXPECT_EQ(
            textOf(readComponents(pmt, Bytes(event.begin(), event.begin() + std::ptrdiff_t(size)))),
            "video 1/5; audio 2 MPEG1_L2 deu");
}

TEST(Components, DescriptorsThatAreTooShortTellNothing)
{
    EXPECT_EQ(componentsOf({{0x04, 1, makeDescriptor(0x0A, {'d', 'e', 'u'})},
                            {0x04, 2, makeDescriptor(0x52, {})},
                            {0x06, 3, makeDescriptor(0x59, {'d', 'e', 'u'})},
                            {0x06, 4, makeDescriptor(0x56, {'d'})},
                            {0x06, 5, makeDescriptor(0x7F, {})},
                            {0x04, 6, makeDescriptor(0x7F, {0x06})}}),
              "audio 1 MPEG1_L2; audio 2 MPEG1_L2; audio 6 MPEG1_L2");
}

}  // namespace
}  // namespace receiver
