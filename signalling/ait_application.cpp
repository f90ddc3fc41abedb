#include "signalling/ait_application.h"

#include <algorithm>
#include <ios>
#include <iterator>
#include <utility>

#include "foundation/configuration_manager.h"
#include "foundation/descriptor.h"
#include "foundation/logging.h"
#include "signalling/ait.h"
#include "signalling/ait_application_reference.h"
#include "signalling/hbbtv_url.h"

namespace VestaHbbTV {

namespace {

/// organisation_id, application_id, application_control_code, application_descriptors_loop_length.
constexpr size_t entryHeaderSize = 9;
constexpr size_t loopLengthOffset = 7;

enum DescriptorTag : uint8_t {
    applicationTag = 0x00,
    applicationNameTag = 0x01,
    applicationRecordingTag = 0x06,
    simpleApplicationLocationTag = 0x15,
    applicationUsageTag = 0x16,
    simpleApplicationBoundaryTag = 0x17
};

using Transports = AITApplication::Transports;

bool hasLabel(uint8_t label, const ref_ptr<AITApplicationTransport>& transport)
{
    return transport->getLabel() == label;
}

Transports::iterator findLabel(Transports& transports, uint8_t label)
{
    return std::find_if(transports.begin(), transports.end(),
                        [label](const auto& transport) { return hasLabel(label, transport); });
}

AITApplicationTransport* findAvailable(Transports::const_iterator from,
                                       Transports::const_iterator end, bool httpAvailable)
{
    const auto found = std::find_if(from, end, [httpAvailable](const auto& transport) {
        return transport->isAvailable(httpAvailable);
    });
    return found == end ? nullptr : found->get();
}

// application_name_descriptor(): ETSI TS 102 809, 5.3.5.6.1. Only the first language is read.
// Deliberate: the name is bounded by the loop, not by its descriptor, and the names of several
// descriptors concatenate.
ByteReader nameIn(ByteReader toLoopEnd)
{
    constexpr size_t languageCodeSize = 3;
    toLoopEnd.skip(descriptorHeaderSize + languageCodeSize);
    const uint8_t length = toLoopEnd.u8();
    // After a byte that was not there, nothing may be taken, not even nothing.
    return toLoopEnd.ok() ? toLoopEnd.take(length) : toLoopEnd;
}

template <typename... Values>
void print(const char* label, const Values&... values)
{
    log(DEBUG, "AITApplication", label, values...);
}

const char* asText(bool flag)
{
    return flag ? "true" : "false";
}

}  // namespace

AITApplication::AITApplication(AIT* parent)
    : parent_(parent), channelHandle_(parent ? parent->getChannelHandle() : nullptr)
{
}

AITApplication::~AITApplication()
{
    if (firstReference_)
        AITApplicationReference::forget(*this);
}

bool AITApplication::parse(const unsigned char* entry)
{
    if (!entry)
        return false;
    const size_t loopLength = ByteReader(entry + loopLengthOffset, 2).length12();
    ByteReader reader(entry, entryHeaderSize + loopLength);
    return parse(reader);
}

// An entry of the application loop: ETSI TS 102 809, 5.3.4.6.
bool AITApplication::parse(ByteReader& section)
{
    organisationId_ = section.u32();
    applicationId_ = section.u16();
    controlCode_ = static_cast<ControlCode>(section.u8());
    const uint16_t loopLength = section.length12();
    const ByteReader loop = section.take(loopLength);
    if (nameIsInLoop_)
        setApplicationName(getApplicationName());  // what follows is added to it
    const bool isNamed = !applicationName_.empty();
    Transports ownTransports;
    if (!section.ok() || !parseDescriptors(loop, section.remaining(), ownTransports))
        return false;
    chooseTransports(std::move(ownTransports));
    if (applicationDomain_)
        applicationDomain_->releaseSpareMemory();
    if (!isNamed)
        keepNameShort(loop);
    return true;
}

/// @param afterLoop bytes of the section that follow the loop
bool AITApplication::parseDescriptors(ByteReader loop, size_t afterLoop, Transports& ownTransports)
{
    return forEachDescriptor(loop, [&](uint8_t tag, ByteReader payload, ByteReader toLoopEnd) {
        // Deliberate: a descriptor without payload fails the entry, whatever its tag.
        return !payload.empty() &&
               parseDescriptor(tag, payload, toLoopEnd, afterLoop, ownTransports);
    });
}

/// @param toLoopEnd from the tag on, for the descriptors that may go on after their payload
/// @param afterLoop as above
bool AITApplication::parseDescriptor(uint8_t tag, ByteReader payload, ByteReader toLoopEnd,
                                     size_t afterLoop, Transports& ownTransports)
{
    switch (tag) {
    case applicationTag:
        if (!applicationDescriptor_)
            applicationDescriptor_.emplace(payload);
        return true;
    case applicationNameTag:
        return parseName(toLoopEnd);
    case transportProtocolTag:
        parseTransport(payload, ownTransports);
        return true;
    case applicationRecordingTag:
        if (!recordingDescriptor_)
            recordingDescriptor_ = std::make_unique<ApplicationRecordingDescriptor>(payload);
        return true;
    case simpleApplicationLocationTag:
        append(applicationLocation_, payload);
        return true;
    case applicationUsageTag:
        usageType_ = static_cast<ApplicationUsageType>(payload.u8());
        return true;
    case simpleApplicationBoundaryTag:
        getApplicationDomain()->parseSimpleApplicationBoundaryExtensionDescriptor(
            toLoopEnd.data(), toLoopEnd.remaining() + afterLoop);
        return true;
    default:
        return true;
    }
}

bool AITApplication::parseName(ByteReader toLoopEnd)
{
    const ByteReader name = nameIn(toLoopEnd);
    append(applicationName_, name);
    return name.ok();
}

/// Names that overlap are together up to 85 times as long as the loop: then the loop is kept.
void AITApplication::keepNameShort(ByteReader loop)
{
    if (applicationName_.size() <= loop.remaining())
        return;
    std::string bytes;
    append(bytes, loop);
    applicationName_ = std::move(bytes);
    nameIsInLoop_ = true;
}

void AITApplication::parseTransport(ByteReader payload, Transports& ownTransports) const
{
    ref_ptr<AITApplicationTransport> transport(new AITApplicationTransport(payload));
    // Deliberate: HTTP transports carry the ids of the current service, too.
    const bool isLocal = transport->getProtocol() == AITApplicationTransport::HTTP ||
                         (transport->getProtocol() == AITApplicationTransport::OBJECT_CAROUSEL &&
                          !transport->isRemote());
    if (isLocal && parent_)
        transport->setService(parent_->getOriginalNetworkId(), parent_->getTransportStreamId(),
                              parent_->getServiceId());
    if (findLabel(ownTransports, transport->getLabel()) == ownTransports.end())
        ownTransports.push_back(std::move(transport));
}

/// Resolves the labels of the application descriptor: an own transport is preferred to a common one
/// and serves one label, a common one serves any number.
void AITApplication::chooseTransports(Transports ownTransports)
{
    transports_.clear();
    if (!applicationDescriptor_)
        return;
    const auto& labels = applicationDescriptor_->getTransportProtocolLabels();
    // Most often the labels are just those of the application's own transports, in their order.
    if (std::equal(labels.begin(), labels.end(), ownTransports.begin(), ownTransports.end(),
                   hasLabel)) {
        transports_ = std::move(ownTransports);
        return;
    }
    transports_.reserve(labels.size());
    for (const uint8_t label : labels) {
        const auto own = findLabel(ownTransports, label);
        if (own != ownTransports.end()) {
            transports_.push_back(std::move(*own));
            ownTransports.erase(own);
        } else if (parent_) {
            addTransport(ref_ptr<AITApplicationTransport>(parent_->getCommonTransport(label)));
        }
    }
}

std::string AITApplication::getApplicationName() const
{
    if (!nameIsInLoop_)
        return applicationName_;
    const ByteReader loop(reinterpret_cast<const unsigned char*>(applicationName_.data()),
                          applicationName_.size());
    std::string name;
    forEachDescriptor(loop, [&name](uint8_t tag, ByteReader /*payload*/, ByteReader toLoopEnd) {
        if (tag == applicationNameTag)
            append(name, nameIn(toLoopEnd));
        return true;
    });
    return name;
}

ApplicationDomain* AITApplication::getApplicationDomain()
{
    if (!applicationDomain_)
        applicationDomain_ = std::make_unique<ApplicationDomain>();
    return applicationDomain_.get();
}

const ApplicationDomain* AITApplication::getApplicationDomain() const
{
    static const ApplicationDomain none;
    return applicationDomain_ ? applicationDomain_.get() : &none;
}

bool AITApplication::isXMLAITbased() const
{
    return parent_ && parent_->isXMLBased();
}

bool AITApplication::hasValidAppId() const
{
    return isXMLAITbased() || (applicationId_ > 0 && applicationId_ < 0x8000);
}

bool AITApplication::isSignalledWith(ControlCode code) const
{
    return controlCode_ == code;
}

unsigned char AITApplication::getApplicationPriority() const
{
    return applicationDescriptor_ ? applicationDescriptor_->getApplicationPriority() : uint8_t(0);
}

bool AITApplication::sameAITApplication(const AITApplication* other) const
{
    return other && other->applicationId_ == applicationId_ &&
           other->organisationId_ == organisationId_;
}

bool AITApplication::isPlatformProfileSupported() const
{
    if (!applicationDescriptor_)
        return false;
    const ConfigurationManager& terminal = *ConfigurationManager::getInstance();
    const auto& profiles = applicationDescriptor_->getPlatformProfiles();
    return std::any_of(profiles.begin(), profiles.end(), [&terminal](const auto& profile) {
        return profile.isCompatible(
            terminal.getSupportedProfiles(), terminal.getHbbTVVersionMajor(),
            terminal.getHbbTVVersionMinor(), terminal.getHbbTVVersionMicro());
    });
}

bool AITApplication::isPreferredTransportProtocol(
    AITApplicationTransport::ProtocolId protocol) const
{
    return !transports_.empty() && transports_.front()->getProtocol() == protocol;
}

bool AITApplication::getPreferredTransportProtocol(
    AITApplicationTransport::ProtocolId& protocol) const
{
    for (const auto& transport : transports_) {
        const auto candidate = transport->getProtocol();
        if (candidate == AITApplicationTransport::OBJECT_CAROUSEL ||
            candidate == AITApplicationTransport::HTTP) {
            protocol = candidate;
            return true;
        }
    }
    return false;
}

AITApplicationTransport* AITApplication::getFirstAvailableTransport(bool httpAvailable) const
{
    return findAvailable(transports_.begin(), transports_.end(), httpAvailable);
}

AITApplicationTransport*
AITApplication::getNextAvailableTransport(const AITApplicationTransport* current,
                                          bool httpAvailable) const
{
    const auto place =
        std::find_if(transports_.begin(), transports_.end(),
                     [current](const auto& transport) { return transport.get() == current; });
    if (place == transports_.end())
        return nullptr;
    return findAvailable(std::next(place), transports_.end(), httpAvailable);
}

bool AITApplication::isTransportedOverProtocol(AITApplicationTransport::ProtocolId protocol) const
{
    return std::any_of(transports_.begin(), transports_.end(), [protocol](const auto& transport) {
        return transport->getProtocol() == protocol;
    });
}

AITApplicationTransport* AITApplication::getTransportMatchingURL(const HbbTVURL& url) const
{
    for (const auto& transport : transports_)
        if (HbbTVURL(transport->getURL(applicationLocation_)).getURL() == url.getURL())
            return transport.get();
    return nullptr;
}

void AITApplication::printAITApplication() const
{
    if (!Logging::hasOutputs())
        return;
    const ApplicationDescriptor none;
    const ApplicationDescriptor& descriptor =
        applicationDescriptor_ ? *applicationDescriptor_ : none;
    // clang-format off
    print("--------------------------------------------------------------------------");
    print("AITApplication.application_name                            = ", getApplicationName());
    print("AITApplication.organisation_identifier                     = ", std::hex, organisationId_);
    print("AITApplication.application_identifier                      = ", std::hex, applicationId_);
    print("AITApplication.application_descriptor.control_code         = ", int{controlCode_});
    print("AITApplication.application_descriptor.visibility           = ", descriptor.getVisibility());
    print("AITApplication.application_descriptor.application_priority = ", unsigned{descriptor.getApplicationPriority()});
    print("AITApplication.application_descriptor.service_bound_flag   = ", asText(descriptor.isServiceBound()));
    print("AITApplication.application_location                        = ", applicationLocation_);
    print("AITApplication.channel_handle                              = ", channelHandle_);
    print("AITApplication.getNumTransports()                          = ", transports_.size());
    // clang-format on
    for (size_t i = 0; i < transports_.size(); ++i)
        printTransport(i);
}

void AITApplication::printTransport(size_t index) const
{
    const AITApplicationTransport& transport = *transports_[index];
    const auto printField = [index](const char* label, const auto&... values) {
        print(".. application_transports[", index, label, values...);
    };
    // Deliberate: label and component tag are written as the characters that they are.
    printField("].protocol            = ", int{transport.getProtocol()}, " (1=DSM-CC, 3=HTTP)");
    printField("].label               = ", transport.getLabel());
    printField("].base_url            = ", transport.getURLBase());
    printField("].remote              = ", transport.isRemote());
    printField("].original_network_id = ", transport.getOriginalNetworkId());
    printField("].transport_stream_id = ", transport.getTransportStreamId());
    printField("].service_id          = ", transport.getServiceId());
    printField("].component_tag       = ", transport.getComponentTag());
}

void AITApplication::setApplicationName(std::string name)
{
    applicationName_ = std::move(name);
    nameIsInLoop_ = false;
}

void AITApplication::setApplicationLocation(std::string location)
{
    applicationLocation_ = std::move(location);
}

void AITApplication::setApplicationDescriptor(ApplicationDescriptor descriptor)
{
    applicationDescriptor_ = std::move(descriptor);
}

void AITApplication::setApplicationRecordingDescriptor(ApplicationRecordingDescriptor descriptor)
{
    recordingDescriptor_ = std::make_unique<ApplicationRecordingDescriptor>(std::move(descriptor));
}

void AITApplication::addTransport(ref_ptr<AITApplicationTransport> transport)
{
    if (transport)
        transports_.push_back(std::move(transport));
}

}  // namespace VestaHbbTV
