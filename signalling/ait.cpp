#include "signalling/ait.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "foundation/decision.h"
#include "foundation/descriptor.h"
#include "foundation/logging.h"
#include "signalling/refused_section.h"

namespace VestaHbbTV {

namespace {

constexpr uint8_t applicationInformationTableId = 0x74;

/// Estimate for reserve(): entries that can be started have more bytes.
constexpr size_t shortEntrySize = 64;

/// Bytes of table_id and section_length.
constexpr size_t sectionHeaderSize = 3;

/// @param received of which one is missing
uint32_t firstMissing(const std::bitset<256>& received)
{
    uint32_t number = 0;
    while (received.test(number))
        ++number;
    return number;
}

using Applications = std::vector<std::unique_ptr<AITApplication>>;

bool comesBefore(const Applications::value_type& one, const Applications::value_type& other)
{
    return one->getApplicationPriority() > other->getApplicationPriority();
}

/// Merges two lists that are in the order of priorities: of equals those of the first stay before.
/// Deliberate: not std::inplace_merge(), which calls itself where memory is scarce.
/// @param formerCount where the second begins
void mergeAdded(Applications& applications, size_t formerCount)
{
    const auto first = applications.begin();
    auto former = first + static_cast<Applications::difference_type>(formerCount);
    auto place = applications.end();
    size_t left = applications.size() - formerCount;
    if (formerCount == 0 || left == 0)
        return;
    const std::unique_ptr<Applications::value_type[]> added(new (std::nothrow)
                                                                Applications::value_type[left]);
    if (!added) {
        for (auto next = former; next != place; ++next)
            std::rotate(std::upper_bound(first, next, *next, comesBefore), next, next + 1);
        return;
    }
    std::move(former, place, added.get());
    while (left > 0) {  // from the lowest priority on
        const bool isFormer = former != first && comesBefore(added[left - 1], former[-1]);
        *--place = std::move(isFormer ? *--former : added[--left]);
    }
}

}  // namespace

AIT::AIT(unsigned short originalNetworkId, unsigned short transportStreamId,
         unsigned short serviceId, void* channelHandle)
    : channelHandle_(channelHandle), originalNetworkId_(originalNetworkId),
      transportStreamId_(transportStreamId), serviceId_(serviceId)
{
}

AIT::AIT() : xmlBased_(true), complete_(true)
{
}

AIT::~AIT() = default;

// application_information_section(): ETSI TS 102 809, 5.3.4.6. The end includes the CRC, which the
// demultiplexer has verified.
bool AIT::parse(const unsigned char* section)
{
    if (!section)
        return false;
    if (section[0] != applicationInformationTableId) {
        explain(HBBTV_REASON_SECTION_NOT_AIT, {}, applicationInformationTableId, section[0]);
        return false;
    }
    const uint16_t length = ByteReader(section + 1, 2).length12();
    ByteReader reader(section + sectionHeaderSize, length);
    reader.skip(2);  // test_application_flag and application_type: any type is taken
    const uint8_t version = (reader.u8() >> 1) & 0x1F;
    const uint8_t number = reader.u8();
    const uint8_t lastNumber = reader.u8();
    if (!reader.ok()) {
        explain(HBBTV_REASON_SECTION_TOO_SHORT, {}, 0, length);
        return false;
    }
    if (!acceptsVersion(version)) {
        explain(complete_ ? HBBTV_REASON_SECTION_TABLE_CLOSED : HBBTV_REASON_SECTION_OTHER_VERSION,
                {}, version_, version);
        return false;
    }
    if (receivedSections_.test(number)) {
        explain(HBBTV_REASON_SECTION_REPEATED, {}, 0, number);
        return true;
    }
    recordSection(version, number, lastNumber);
    const bool isRead = parseBody(reader);
    if (areDecisionsHeard && !isRead)
        explainRefusal(section);
    if (areDecisionsHeard && !complete_)
        explain(HBBTV_REASON_TABLE_INCOMPLETE, {}, firstMissing(receivedSections_),
                lastSectionNumber_);
    return isRead;
}

/// The first section decides on the version. Once all sections have arrived, no more are taken: not
/// even repetitions.
bool AIT::acceptsVersion(uint8_t version) const
{
    return receivedSections_.none() || (version == version_ && !complete_);
}

/// Deliberate: a section counts as received before its body is read, so also if that fails.
void AIT::recordSection(uint8_t version, uint8_t number, uint8_t lastNumber)
{
    version_ = version;
    receivedSections_.set(number);
    lastSectionNumber_ = lastNumber;
    if (receivedSections_.count() == lastSectionNumber_ + size_t{1})
        complete_ = true;
}

bool AIT::parseBody(ByteReader section)
{
    const uint16_t commonLength = section.length12();
    const ByteReader commonLoop = section.take(commonLength);
    if (!section.ok() || !parseCommonDescriptorsLoop(commonLoop))
        return false;
    const uint16_t loopLength = section.length12();
    if (!section.ok() || loopLength > section.remaining())
        return false;
    return parseApplications(section, loopLength);
}

bool AIT::parseCommonDescriptorsLoop(const unsigned char* data, unsigned short length)
{
    return parseCommonDescriptorsLoop(ByteReader(data, data ? length : size_t{0}));
}

bool AIT::parseCommonDescriptorsLoop(ByteReader loop)
{
    return forEachDescriptor(loop, [this](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag == transportProtocolTag)
            addCommonTransport(payload);
        return true;
    });
}

void AIT::addCommonTransport(ByteReader payload)
{
    ref_ptr<AITApplicationTransport> transport(new AITApplicationTransport(payload));
    if (!transport->isRemote())
        transport->setService(originalNetworkId_, transportStreamId_, serviceId_);
    insertCommonTransport(std::move(transport));
}

/// @param section begins with the application loop, which is known to end within it
bool AIT::parseApplications(ByteReader section, size_t loopLength)
{
    const size_t formerCount = applications_.size();
    applications_.reserve(formerCount + loopLength / shortEntrySize);
    const bool accepted = addApplications(section, loopLength);
    // Once a section and not once an application: a table may have thousands.
    mergeAdded(applications_, formerCount);
    return accepted;
}

/// Puts a section's applications after all others, in order among themselves.
bool AIT::addApplications(ByteReader section, size_t loopLength)
{
    const size_t formerCount = applications_.size();
    const size_t afterLoop = section.remaining() - loopLength;
    // Deliberate: an entry is bounded by the section. One that begins in the loop may leave it.
    while (section.remaining() > afterLoop) {
        auto application = std::make_unique<AITApplication>(this);
        if (!application->parse(section))
            return false;
        insert(std::move(application), formerCount);
    }
    return true;
}

void AIT::insertAITApplication(AITApplication* application)
{
    if (!application || isHandledAITApplication(application))
        return;
    // The table that it was made for may die before this one.
    if (application->parent_)
        application->parent_ = this;
    insert(std::unique_ptr<AITApplication>(application), 0);
}

/// @param from the application's place is not looked for before this one
void AIT::insert(std::unique_ptr<AITApplication> application, size_t from)
{
    const unsigned char priority = application->getApplicationPriority();
    const auto place = std::upper_bound(placeAt(from), applications_.end(), priority,
                                        [](unsigned char inserted, const auto& other) {
                                            return other->getApplicationPriority() < inserted;
                                        });
    applications_.insert(place, std::move(application));
}

AIT::Applications::iterator AIT::placeAt(size_t index)
{
    return applications_.begin() + static_cast<Applications::difference_type>(index);
}

unsigned int AIT::getNumApplications() const
{
    return static_cast<unsigned int>(applications_.size());
}

AITApplication* AIT::getAITApplication(unsigned int index) const
{
    return index < applications_.size() ? applications_[index].get() : nullptr;
}

AITApplication* AIT::getAITApplication(unsigned long organisationId,
                                       unsigned short applicationId) const
{
    for (const auto& application : applications_)
        if (application->getApplicationId() == applicationId &&
            application->getOrganisationId() == organisationId)
            return application.get();
    return nullptr;
}

AITApplication* AIT::getAITApplication(AITApplication::ControlCode code, bool httpAvailable) const
{
    return findSignalled(0, code, httpAvailable);
}

AITApplication* AIT::getNextAITApplication(const AITApplication* after,
                                           AITApplication::ControlCode code,
                                           bool httpAvailable) const
{
    return findSignalled(placeOf(after) + 1, code, httpAvailable);
}

AITApplication* AIT::findSignalled(size_t from, AITApplication::ControlCode code,
                                   bool httpAvailable) const
{
    for (size_t i = from; i < applications_.size(); ++i) {
        AITApplication* const application = applications_[i].get();
        if (application->isSignalledWith(code) &&
            application->getFirstAvailableTransport(httpAvailable)) {
            lastFound_ = i;
            return application;
        }
    }
    return nullptr;
}

bool AIT::isHandledAITApplication(const AITApplication* application) const
{
    return placeOf(application) < applications_.size();
}

/// The number of applications for one that is not in the list. It may be any pointer, so it is not
/// asked for its place.
size_t AIT::placeOf(const AITApplication* application) const
{
    if (lastFound_ < applications_.size() && applications_[lastFound_].get() == application)
        return lastFound_;
    size_t place = 0;
    while (place < applications_.size() && applications_[place].get() != application)
        ++place;
    return place;
}

AITApplication*
AIT::getFirstAITApplicationOfUsageType(AITApplication::ApplicationUsageType type) const
{
    for (const auto& application : applications_)
        if (application->getUsageType() == type)
            return application.get();
    return nullptr;
}

AITApplication* AIT::getFirstDigitalTeletextAITApplication() const
{
    return getFirstAITApplicationOfUsageType(AITApplication::DIGITAL_TELETEXT);
}

AITApplicationTransport* AIT::getCommonTransport(uint8_t label) const
{
    for (const auto& transport : commonTransports_)
        if (transport->getLabel() == label)
            return transport.get();
    return nullptr;
}

void AIT::insertCommonTransport(ref_ptr<AITApplicationTransport> transport)
{
    if (transport && !getCommonTransport(transport->getLabel()))
        commonTransports_.push_back(std::move(transport));
}

void AIT::clearCommonTransports()
{
    commonTransports_.clear();
}

void AIT::printAIT() const
{
    log(DEBUG, "AIT", "--- Outputing AIT ---");
    for (size_t i = 0; i < applications_.size(); ++i) {
        log(DEBUG, "AIT", "--- [", i, "] ");
        applications_[i]->printAITApplication();
    }
    log(DEBUG, "AIT", "--- Done ---");
}

}  // namespace VestaHbbTV
