#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/configuration_manager.h"
#include "signalling/ait.h"
#include "signalling/ait_application.h"
#include "tests/signalling/parsed_sections.h"
#include "tests/support/captured_log.h"
#include "tests/support/printed_tables.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

TEST(AITApplication, IsEmptyWhenNew)
{
    int channel = 0;
    AIT table(1, 2, 3, &channel);
    const AITApplication application(&table);
    EXPECT_EQ(application.getAIT(), &table);
    EXPECT_EQ(application.getChannelHandle(), &channel);
    EXPECT_EQ(print(application), "0.0 code 0 usage 0 '' at ''");
    EXPECT_EQ(application.getApplicationPriority(), 0);
    EXPECT_EQ(application.getNumTransports(), 0U);
    EXPECT_FALSE(application.isInSignedRange());
    EXPECT_EQ(AITApplication(nullptr).getChannelHandle(), nullptr);
}

TEST(AITApplication, TellsSignedApplicationsByTheirId)
{
    const std::tuple<uint16_t, bool> cases[] = {
        {0, false},     {0x3FFF, false}, {0x4000, true},
        {0x7FFF, true}, {0x8000, false}, {0xFFFF, false},
    };
    for (const auto& [id, isSigned] : cases)
        EXPECT_EQ(Parsed(AITEntry(1, id))->isInSignedRange(), isSigned) << id;
}

TEST(AITApplication, HasAValidIdFromOneToTheHighestSignedOneOrInAnXMLTable)
{
    AIT broadcast(1, 2, 3, nullptr);
    AIT xml;
    const std::tuple<uint16_t, bool> cases[] = {
        {0, false},      {1, true},       {0x7FFF, true},  {0x8000, false},
        {0x8001, false}, {0xFFFE, false}, {0xFFFF, false},
    };
    for (const auto& [id, valid] : cases) {
        EXPECT_EQ(Parsed(AITEntry(1, id), &broadcast)->hasValidAppId(), valid) << id;
        EXPECT_EQ(Parsed(AITEntry(1, id))->hasValidAppId(), valid) << id;
        EXPECT_TRUE(Parsed(AITEntry(1, id), &xml)->hasValidAppId()) << id;
    }
}

TEST(AITApplication, IsXMLBasedWithItsTable)
{
    AIT broadcast(1, 2, 3, nullptr);
    AIT xml;
    EXPECT_TRUE(AITApplication(&xml).isXMLAITbased());
    EXPECT_FALSE(AITApplication(&broadcast).isXMLAITbased());
    EXPECT_FALSE(AITApplication(nullptr).isXMLAITbased());
}

TEST(AITApplication, IsTheSameAsOneWithBothIds)
{
    Parsed application(AITEntry(10, 1));
    EXPECT_TRUE(application->sameAITApplication(&*Parsed(AITEntry(10, 1, 4).name("other"))));
    EXPECT_FALSE(application->sameAITApplication(&*Parsed(AITEntry(11, 1))));
    EXPECT_FALSE(application->sameAITApplication(&*Parsed(AITEntry(10, 2))));
    EXPECT_FALSE(application->sameAITApplication(nullptr));
}

TEST(AITApplication, WalksItsTransportsInOrder)
{
    Parsed application(AITEntry(10, 1)
                           .http(1, "http://a/")
                           .carousel(2, 9)
                           .http(3, "http://b/")
                           .raw(otherTransport(4, 2))
                           .labels({1, 2, 3, 4}));
    const auto& all = application->getTransports();
    ASSERT_EQ(all.size(), 4U);
    const auto next = [&](size_t after, bool http) {
        return application->getNextAvailableTransport(all[after].get(), http);
    };
    EXPECT_EQ(application->getFirstAvailableTransport(true), all[0].get());
    EXPECT_EQ(next(0, true), all[1].get());
    EXPECT_EQ(next(1, true), all[2].get());
    EXPECT_EQ(next(2, true), all[3].get());
    EXPECT_EQ(next(3, true), nullptr);

    EXPECT_EQ(application->getFirstAvailableTransport(false), all[1].get());
    EXPECT_EQ(next(0, false), all[1].get());
    EXPECT_EQ(next(1, false), all[3].get());
    EXPECT_EQ(next(3, false), nullptr);

    AITApplicationTransport foreign;
    EXPECT_EQ(application->getNextAvailableTransport(&foreign, true), nullptr);
    EXPECT_EQ(application->getNextAvailableTransport(nullptr, true), nullptr);
}

TEST(AITApplication, WithoutHTTPHasNoTransportBehindItsCarousel)
{
    Parsed application(AITEntry(10, 1).http(1, "http://a/").carousel(2, 9));
    AITApplicationTransport* const first = application->getFirstAvailableTransport(false);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->getProtocol(), AITApplicationTransport::OBJECT_CAROUSEL);
    EXPECT_EQ(application->getNextAvailableTransport(first, false), nullptr);

    Parsed httpOnly(AITEntry(10, 1).http(1, "http://a/"));
    EXPECT_EQ(httpOnly->getFirstAvailableTransport(false), nullptr);
}

TEST(AITApplication, WalksFromTheFirstPlaceOfATransportThatIsListedTwice)
{
    AIT table(1, 2, 3, nullptr);
    const Bytes common = carouselTransport(1, 0x10) + carouselTransport(2, 0x20);
    ASSERT_TRUE(table.parseCommonDescriptorsLoop(exactBlock(common).get(),
                                                 static_cast<unsigned short>(common.size())));
    Parsed application(AITEntry(10, 1).labels({1, 1, 2}), &table);
    AITApplicationTransport* const twice = table.getCommonTransport(1);
    EXPECT_EQ(application->getNextAvailableTransport(twice, true), twice);
}

TEST(AITApplication, TellsOverWhichProtocolsItComes)
{
    using Transport = AITApplicationTransport;
    Parsed mixed(AITEntry(10, 1)
                     .labels({1, 2, 3})
                     .raw(otherTransport(1, 2))
                     .http(2, "http://a/")
                     .carousel(3, 9));
    Transport::ProtocolId protocol = Transport::ProtocolId(99);
    EXPECT_TRUE(mixed->getPreferredTransportProtocol(protocol));
    EXPECT_EQ(protocol, Transport::HTTP);
    EXPECT_TRUE(mixed->isPreferredTransportProtocol(Transport::ProtocolId(0)));
    EXPECT_FALSE(mixed->isPreferredTransportProtocol(Transport::HTTP));
    EXPECT_TRUE(mixed->isTransportedOverProtocol(Transport::OBJECT_CAROUSEL));
    EXPECT_TRUE(mixed->isTransportedOverProtocol(Transport::HTTP));

    Parsed carousel(AITEntry(10, 1).carousel(1, 9).http(2, "http://a/"));
    EXPECT_TRUE(carousel->getPreferredTransportProtocol(protocol));
    EXPECT_EQ(protocol, Transport::OBJECT_CAROUSEL);

    Parsed unknown(AITEntry(10, 1).labels({1}).raw(otherTransport(1, 2)));
    protocol = Transport::ProtocolId(99);
    EXPECT_FALSE(unknown->getPreferredTransportProtocol(protocol));
    EXPECT_EQ(protocol, Transport::ProtocolId(99));
    EXPECT_FALSE(unknown->isTransportedOverProtocol(Transport::HTTP));

    Parsed none(AITEntry(10, 1));
    EXPECT_FALSE(none->getPreferredTransportProtocol(protocol));
    EXPECT_FALSE(none->isPreferredTransportProtocol(Transport::ProtocolId(0)));
    EXPECT_FALSE(none->isTransportedOverProtocol(Transport::OBJECT_CAROUSEL));
}

namespace {

/// Sets what the terminal can do and restores it.
class Terminal {
public:
    Terminal(unsigned short profiles, unsigned char major, unsigned char minor, unsigned char micro)
    {
        configuration_.setSupportedProfiles(profiles);
        configuration_.setHbbTVVersion(major, minor, micro);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal()
    {
        configuration_.setSupportedProfiles(profiles_);
        configuration_.setHbbTVVersion(major_, minor_, micro_);
    }

private:
    ConfigurationManager& configuration_ = *ConfigurationManager::getInstance();
    const unsigned short profiles_ = configuration_.getSupportedProfiles();
    const unsigned char major_ = configuration_.getHbbTVVersionMajor();
    const unsigned char minor_ = configuration_.getHbbTVVersionMinor();
    const unsigned char micro_ = configuration_.getHbbTVVersionMicro();
};

}  // namespace

TEST(AITApplication, IsSupportedIfOneOfItsProfilesIs)
{
    const Terminal terminal(0x0001, 1, 2, 1);
    const auto supported = [](std::vector<vesta::test::Profile> profiles) {
        return Parsed(AITEntry(10, 1).profiles(std::move(profiles)))->isPlatformProfileSupported();
    };
    EXPECT_TRUE(supported({{0, 1, 1, 1}}));
    EXPECT_TRUE(supported({{1, 1, 2, 1}}));
    EXPECT_TRUE(supported({{2, 1, 1, 1}, {0, 9, 0, 0}, {0, 1, 1, 1}}));
    EXPECT_FALSE(supported({{2, 1, 1, 1}, {0, 9, 0, 0}}));
    EXPECT_FALSE(supported({{0, 1, 2, 2}}));
    EXPECT_FALSE(supported({}));
    EXPECT_FALSE(Parsed(plainEntry())->isPlatformProfileSupported());
}

TEST(AITApplication, CanBeFilledByHand)
{
    AIT table;
    AITApplication* const application = new AITApplication(&table);
    AITApplication::ApplicationDescriptor fields;
    fields.addPlatformProfile(AITApplication::PlatformProfile(1, 1, 2, 3));
    fields.addTransportProtocolLabel(4);
    fields.setServiceBound(true);
    fields.setApplicationPriority(5);
    fields.setVisibility(3);
    AITApplication::ApplicationRecordingDescriptor recording;
    recording.setScheduledRecording(true);
    recording.addComponentTag(0x11);
    ref_ptr<AITApplicationTransport> transport(new AITApplicationTransport);
    transport->setProtocol(AITApplicationTransport::HTTP);
    transport->setURLBase("http://a.example/");

    application->setOrganisationId(10);
    application->setApplicationId(0x4001);
    application->setControlCode(AITApplication::AUTOSTART);
    application->setApplicationName("name");
    application->setApplicationLocation("i.html");
    application->setUsageType(AITApplication::DIGITAL_TELETEXT);
    application->setApplicationDescriptor(fields);
    application->setApplicationRecordingDescriptor(recording);
    application->addTransport(transport);
    application->addTransport(ref_ptr<AITApplicationTransport>());
    application->getApplicationDomain()->addBoundaryExtension("http://a.example/");
    table.insertAITApplication(application);

    EXPECT_EQ(table.getAITApplication(10UL, 0x4001), application);
    EXPECT_EQ(table.getAITApplication(AITApplication::AUTOSTART, true), application);
    EXPECT_EQ(table.getFirstDigitalTeletextAITApplication(), application);
    EXPECT_TRUE(application->isXMLAITbased());
    EXPECT_TRUE(application->isInSignedRange());
    EXPECT_EQ(application->getApplicationPriority(), 5);
    EXPECT_EQ(application->getNumTransports(), 1U);
    EXPECT_EQ(transport->getURL(application->getApplicationLocation()), "http://a.example/i.html");
    EXPECT_EQ(application->getApplicationRecordingDescriptor()->getComponentTags().size(), 1U);
    EXPECT_EQ(application->getApplicationName(), "name");
}

TEST(AITApplication, ListsItselfInTheLog)
{
    int channel = 0;
    AIT table(0x22, 7, 1, &channel);
    Parsed application(AITEntry(0xABCDEF12, 0x4F, 2)
                           .priority(200)
                           .visibility(2)
                           .serviceBound()
                           .name("Launcher")
                           .http('H', "http://a.example/")
                           .remoteCarousel('C', 258, 3, 4, 'T')
                           .location("i.html"),
                       &table);
    std::ostringstream handle;
    handle << static_cast<void*>(&channel);
    const CapturedLog log;
    application->printAITApplication();
    const std::string nul(1, '\0');
    const std::string expected[] = {
        "--------------------------------------------------------------------------",
        "AITApplication.application_name                            = Launcher",
        "AITApplication.organisation_identifier                     = abcdef12",
        "AITApplication.application_identifier                      = 4f",
        "AITApplication.application_descriptor.control_code         = 2",
        "AITApplication.application_descriptor.visibility           = 2",
        "AITApplication.application_descriptor.application_priority = 200",
        "AITApplication.application_descriptor.service_bound_flag   = true",
        "AITApplication.application_location                        = i.html",
        "AITApplication.channel_handle                              = " + handle.str(),
        "AITApplication.getNumTransports()                          = 2",
        ".. application_transports[0].protocol            = 3 (1=DSM-CC, 3=HTTP)",
        ".. application_transports[0].label               = H",
        ".. application_transports[0].base_url            = http://a.example/",
        ".. application_transports[0].remote              = 0",
        ".. application_transports[0].original_network_id = 34",
        ".. application_transports[0].transport_stream_id = 7",
        ".. application_transports[0].service_id          = 1",
        ".. application_transports[0].component_tag       = " + nul,
        ".. application_transports[1].protocol            = 1 (1=DSM-CC, 3=HTTP)",
        ".. application_transports[1].label               = C",
        ".. application_transports[1].base_url            = ",
        ".. application_transports[1].remote              = 1",
        ".. application_transports[1].original_network_id = 258",
        ".. application_transports[1].transport_stream_id = 3",
        ".. application_transports[1].service_id          = 4",
        ".. application_transports[1].component_tag       = T",
    };
    ASSERT_EQ(log.leveledLines().size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(log.leveledLines()[i], "DEBUG AITApplication: " + expected[i]);
}

TEST(AITApplication, ListsAllNumbersButItsIdsInDecimal)
{
    AIT table(0x22, 77, 0xFFFF, nullptr);
    AITEntry entry(10, 0x4010, 31);
    for (uint8_t label = 0; label < 11; ++label)
        entry.http(label, "http://a.example/");
    Parsed application(entry, &table);
    const CapturedLog log;
    application->printAITApplication();
    const auto count = [&log](const std::string& line) {
        return log.count("DEBUG AITApplication: " + line);
    };
    EXPECT_EQ(count("AITApplication.organisation_identifier                     = a"), 1);
    EXPECT_EQ(count("AITApplication.application_identifier                      = 4010"), 1);
    EXPECT_EQ(count("AITApplication.application_descriptor.control_code         = 31"), 1);
    EXPECT_EQ(count("AITApplication.getNumTransports()                          = 11"), 1);
    for (int index = 0; index < 11; ++index) {
        const std::string transport = ".. application_transports[" + std::to_string(index) + "].";
        EXPECT_EQ(count(transport + "original_network_id = 34"), 1) << index;
        EXPECT_EQ(count(transport + "transport_stream_id = 77"), 1) << index;
        EXPECT_EQ(count(transport + "service_id          = 65535"), 1) << index;
    }
}

TEST(AITApplication, WithoutApplicationDescriptorListsZeros)
{
    Parsed application(plainEntry());
    const CapturedLog log;
    application->printAITApplication();
    const auto& lines = log.leveledLines();
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_EQ(lines[5], "DEBUG AITApplication: AITApplication.application_descriptor.visibility  "
                        "         = 0");
    EXPECT_EQ(lines[6], "DEBUG AITApplication: AITApplication.application_descriptor."
                        "application_priority = 0");
    EXPECT_EQ(lines[7], "DEBUG AITApplication: AITApplication.application_descriptor."
                        "service_bound_flag   = false");
}
