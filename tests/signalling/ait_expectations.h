/// Whether a table holds what its sections signal.
#ifndef VESTA_TESTS_SIGNALLING_AIT_EXPECTATIONS_H
#define VESTA_TESTS_SIGNALLING_AIT_EXPECTATIONS_H

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "signalling/ait.h"
#include "tests/signalling/ait_content.h"

namespace vesta::test {

/// The service that carries the tables.
constexpr unsigned short originalNetworkId = 0x22;
constexpr unsigned short transportStreamId = 0x7;
constexpr unsigned short serviceId = 0x1;

inline void checkService(const VestaHbbTV::AITApplicationTransport& actual, const json& expected)
{
    const int protocol = expected["protocol_id"];
    const bool isRemote = protocol == 1 && expected["remote"].get<bool>();
    EXPECT_EQ(actual.isRemote(), isRemote);
    if (isRemote) {
        EXPECT_EQ(actual.getOriginalNetworkId(), expected["original_network_id"]);
        EXPECT_EQ(actual.getTransportStreamId(), expected["transport_stream_id"]);
        EXPECT_EQ(actual.getServiceId(), expected["service_id"]);
        return;
    }
    const bool ofThisService = expected["common"].get<bool>() || protocol == 1 || protocol == 3;
    EXPECT_EQ(actual.getOriginalNetworkId(), ofThisService ? originalNetworkId : 0);
    EXPECT_EQ(actual.getTransportStreamId(), ofThisService ? transportStreamId : 0);
    EXPECT_EQ(actual.getServiceId(), ofThisService ? serviceId : 0);
}

inline std::string expectedURL(const VestaHbbTV::AITApplicationTransport& actual,
                               const json& expected, const std::string& location)
{
    if (expected["protocol_id"] == 3)
        return expected["urls"][0]["base"].get<std::string>() + location;
    if (expected["protocol_id"] != 1)
        return "";
    std::ostringstream url;
    url << "dvb://" << std::hex << actual.getOriginalNetworkId() << "."
        << actual.getTransportStreamId() << "." << actual.getServiceId() << "."
        << expected["component_tag"].get<int>() << "/" << location;
    return url.str();
}

inline void checkTransport(const VestaHbbTV::AITApplicationTransport& actual, const json& expected,
                           const std::string& location)
{
    SCOPED_TRACE(expected.dump());
    const int protocol = expected["protocol_id"];
    EXPECT_EQ(actual.getProtocol(), protocol == 1 || protocol == 3 ? protocol : 0);
    EXPECT_EQ(actual.getLabel(), expected["label"]);
    EXPECT_EQ(actual.getURLBase(),
              protocol == 3 ? expected["urls"][0]["base"].get<std::string>() : "");
    EXPECT_EQ(actual.getComponentTag(), protocol == 1 ? expected["component_tag"].get<int>() : 0);
    checkService(actual, expected);
    EXPECT_EQ(actual.getURL(location), expectedURL(actual, expected, location));
}

inline void checkApplicationDescriptor(const VestaHbbTV::AITApplication& actual,
                                       const json& application)
{
    const auto expected = ofTag(application["descriptors"], applicationTag);
    const VestaHbbTV::AITApplication::ApplicationDescriptor* const descriptor =
        actual.getApplicationDescriptor();
    ASSERT_EQ(descriptor != nullptr, !expected.empty());
    if (!descriptor)
        return;
    const json& first = expected.front();
    EXPECT_EQ(descriptor->isServiceBound(), first["service_bound"]);
    EXPECT_EQ(descriptor->getVisibility(), first["visibility"]);
    EXPECT_EQ(descriptor->getApplicationPriority(), first["priority"]);
    const auto& labels = descriptor->getTransportProtocolLabels();
    EXPECT_EQ(json(std::vector<int>(labels.begin(), labels.end())), first["transport_labels"]);
    json profiles = json::array();
    for (const auto& profile : descriptor->getPlatformProfiles())
        profiles.push_back(
            {{"profile", profile.getApplicationProfile()},
             {"version",
              {profile.getVersionMajor(), profile.getVersionMinor(), profile.getVersionMicro()}}});
    EXPECT_EQ(profiles, first["profiles"]);
}

inline void checkRecordingDescriptor(const VestaHbbTV::AITApplication& actual,
                                     const json& application)
{
    const auto expected = ofTag(application["descriptors"], recordingTag);
    const VestaHbbTV::AITApplication::ApplicationRecordingDescriptor* const descriptor =
        actual.getApplicationRecordingDescriptor();
    ASSERT_EQ(descriptor != nullptr, !expected.empty());
    if (!descriptor)
        return;
    const json& first = expected.front();
    EXPECT_EQ(descriptor->isScheduledRecording(), first["scheduled_recording"]);
    EXPECT_EQ(descriptor->isTrickModeAware(), first["trick_mode_aware"]);
    EXPECT_EQ(descriptor->isTimeShift(), first["time_shift"]);
    EXPECT_EQ(descriptor->isDynamic(), first["dynamic"]);
    EXPECT_EQ(descriptor->isAVSynced(), first["av_synced"]);
    EXPECT_EQ(descriptor->isInitiatingReplay(), first["initiating_replay"]);
    EXPECT_EQ(json(descriptor->getComponentTags()), expectedComponentTags(first));
}

inline void checkApplication(const VestaHbbTV::AITApplication& actual, const json& expected,
                             const std::map<int, json>& common)
{
    SCOPED_TRACE("application " + expected["organisation_id"].dump() + "." +
                 expected["application_id"].dump());
    const int id = expected["application_id"];
    EXPECT_EQ(actual.getOrganisationId(), expected["organisation_id"]);
    EXPECT_EQ(actual.getApplicationId(), id);
    EXPECT_EQ(actual.getControlCode(), expected["control_code"].get<int>());
    EXPECT_EQ(actual.isInSignedRange(), id >= 0x4000 && id <= 0x7FFF);
    EXPECT_EQ(actual.hasValidAppId(), id >= 1 && id <= 0x7FFF);
    EXPECT_EQ(actual.getApplicationName(), expectedName(expected));
    EXPECT_EQ(actual.getApplicationLocation(), expectedLocation(expected));
    EXPECT_EQ(actual.getUsageType(), expectedUsage(expected));
    EXPECT_EQ(actual.getApplicationDomain()->getEntries(), expectedDomain(expected));
    checkApplicationDescriptor(actual, expected);
    checkRecordingDescriptor(actual, expected);
    const auto transports = expectedTransports(expected, common);
    ASSERT_EQ(actual.getNumTransports(), transports.size());
    for (size_t i = 0; i < transports.size(); ++i)
        checkTransport(*actual.getTransports()[i], transports[i], expectedLocation(expected));
}

/// What a table must hold after sections in this order.
class Expected {
public:
    /// @return whether the section must be accepted
    bool add(const json& section)
    {
        common_.merge(transportsByLabel(section["common_descriptors"], true));
        for (const json& application : section["applications"]) {
            if (hasEmptyDescriptor(application))
                return false;
            applications_.push_back({application, common_});
        }
        return true;
    }

    void check(const VestaHbbTV::AIT& table)
    {
        std::stable_sort(applications_.begin(), applications_.end(),
                         [](const auto& left, const auto& right) {
                             return priority(left.content) > priority(right.content);
                         });
        ASSERT_EQ(table.getNumApplications(), applications_.size());
        for (unsigned int i = 0; i < applications_.size(); ++i)
            checkApplication(*table.getAITApplication(i), applications_[i].content,
                             applications_[i].common);
    }

    /// Call after check(), which establishes what stands at each index.
    void checkLookups(const VestaHbbTV::AIT& table) const
    {
        for (const Application& application : applications_) {
            const json& content = application.content;
            EXPECT_EQ(table.getAITApplication(content["organisation_id"].get<unsigned long>(),
                                              content["application_id"].get<unsigned short>()),
                      first(table, [&content](const Application& other) {
                          return other.content["organisation_id"] == content["organisation_id"] &&
                                 other.content["application_id"] == content["application_id"];
                      }));
        }
        for (const int usage : {0, 1, 2, 0xFF})
            EXPECT_EQ(table.getFirstAITApplicationOfUsageType(
                          static_cast<VestaHbbTV::AITApplication::ApplicationUsageType>(usage)),
                      first(table, [usage](const Application& application) {
                          return expectedUsage(application.content) == usage;
                      }));
        for (int code = 0; code <= VestaHbbTV::AITApplication::DISABLED + 1; ++code)
            for (const bool http : {false, true})
                checkSignalled(table, static_cast<VestaHbbTV::AITApplication::ControlCode>(code),
                               http);
    }

private:
    struct Application {
        json content;
        /// The common transports when the application was read.
        std::map<int, json> common;

        bool isAvailable(bool http) const
        {
            const auto transports = expectedTransports(content, common);
            return std::any_of(transports.begin(), transports.end(), [http](const json& transport) {
                return http || transport["protocol_id"] != 3;
            });
        }
    };

    template <typename Condition>
    const VestaHbbTV::AITApplication* first(const VestaHbbTV::AIT& table,
                                            const Condition& condition) const
    {
        const auto found = std::find_if(applications_.begin(), applications_.end(), condition);
        return table.getAITApplication(static_cast<unsigned int>(found - applications_.begin()));
    }

    void checkSignalled(const VestaHbbTV::AIT& table, VestaHbbTV::AITApplication::ControlCode code,
                        bool http) const
    {
        std::vector<const VestaHbbTV::AITApplication*> expected;
        for (unsigned int i = 0; i < applications_.size(); ++i)
            if (applications_[i].content["control_code"] == int{code} &&
                applications_[i].isAvailable(http))
                expected.push_back(table.getAITApplication(i));
        std::vector<const VestaHbbTV::AITApplication*> found;
        for (const VestaHbbTV::AITApplication* application = table.getAITApplication(code, http);
             application; application = table.getNextAITApplication(application, code, http))
            found.push_back(application);
        EXPECT_EQ(found, expected) << "control code " << code << ", HTTP " << http;
    }

    std::vector<Application> applications_;
    std::map<int, json> common_;
};

}  // namespace vesta::test

#endif
