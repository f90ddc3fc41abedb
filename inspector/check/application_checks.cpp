// What an AIT says of its applications.
#include <algorithm>
#include <set>

#include "foundation/text.h"
#include "inspector/check/checks.h"
#include "inspector/decode/descriptors.h"
#include "inspector/survey/addresses.h"
#include "security/application_domain.h"

namespace inspector {

namespace {

using VestaHbbTV::ApplicationDomain;
using VestaHbbTV::startsWith;

constexpr uint64_t applicationTag = 0x00;
constexpr uint64_t transportTag = 0x02;
constexpr uint64_t locationTag = 0x15;
constexpr uint64_t boundaryTag = 0x17;
constexpr uint64_t autostart = 1;
constexpr uint64_t present = 2;
constexpr uint64_t carouselProtocol = 1;
constexpr uint64_t httpProtocol = 3;

std::vector<const Node*> descriptorsOf(const std::list<Node>& descriptors, uint64_t tag)
{
    std::vector<const Node*> found;
    for (const Node& descriptor : descriptors) {
        if (descriptor.numberOf("tag") == tag)
            found.push_back(&descriptor);
    }
    return found;
}

/// Transports by their labels, of which the first counts.
using Transports = std::map<uint64_t, const Node*>;

/// The latest that is published: ETSI TS 102 796 V1.7.1.
constexpr uint64_t latestMinor = 7;

/// Whether there are terminals that the profile asks for: of those versions, with the optional
/// features of the standard.
bool isProfileKnown(const Node& profile)
{
    constexpr uint64_t knownProfiles = 0x0007;
    const uint64_t major = profile.numberOf("version_major");
    const uint64_t minor = profile.numberOf("version_minor");
    const bool isNewer =
        major > 1 ||
        (major == 1 &&
         (minor > latestMinor || (minor == latestMinor && profile.numberOf("version_micro") > 1)));
    return (profile.numberOf("application_profile") & ~knownProfiles) == 0 && !isNewer;
}

/// V1.1.1 to V1.7.1
bool isVersionPublished(const Node& profile)
{
    const uint64_t minor = profile.numberOf("version_minor");
    return profile.numberOf("version_major") == 1 && minor >= 1 && minor <= latestMinor &&
           profile.numberOf("version_micro") == 1;
}

std::string versionOf(const Node& profile)
{
    return hexadecimal(profile.numberOf("application_profile"), 4) + " version " +
           std::to_string(profile.numberOf("version_major")) + "." +
           std::to_string(profile.numberOf("version_minor")) + "." +
           std::to_string(profile.numberOf("version_micro"));
}

/// The scheme and host of a URL, without its path.
std::string originOf(std::string url)
{
    return ApplicationDomain().removePath(url);
}

/// One application, in the section where it stands.
class ApplicationCheck {
public:
    ApplicationCheck(const Node& application, const Transports& common,
                     const std::vector<Address>& addresses, Place place, Findings& findings)
        : application_(application), descriptors_(application.listOf("descriptors")),
          common_(common), place_(std::move(place)), findings_(findings)
    {
        const auto organisation = static_cast<uint32_t>(application.numberOf("organisation_id"));
        const auto id = static_cast<uint16_t>(application.numberOf("application_id"));
        place_.application = nameOfApplication(organisation, id);
        for (const Address& address : addresses) {
            if (address.organisationId == organisation && address.applicationId == id)
                addresses_.push_back(&address);
        }
    }

    void run()
    {
        checkIds();
        checkControlCode();
        collectTransports();
        checkDescriptor();
        checkLocation();
        checkBoundary();
    }

    /// The labels that the application names.
    const std::set<uint64_t>& labels() const { return labels_; }
    const Place& place() const { return place_; }
    uint64_t priority() const { return priority_; }
    bool isAutostart() const
    {
        return application_.numberOf("application_control_code") == autostart;
    }

private:
    void add(const char* id, const Node* where, std::string detail)
    {
        Place place = place_;
        place.offset = where && where->place ? where->place : application_.place;
        findings_.add(id, std::move(place), std::move(detail));
    }

    bool isStarted() const
    {
        const uint64_t code = application_.numberOf("application_control_code");
        return code == autostart || code == present;
    }

    void checkIds()
    {
        constexpr uint64_t lastId = 0x7FFF;
        constexpr uint64_t firstWildcard = 0xFFFE;
        const uint64_t id = application_.numberOf("application_id");
        if (id >= firstWildcard)
            add("application-id-wildcard", nullptr, hexadecimal(id, 4));
        else if (id == 0 || id > lastId)
            add("application-id-range", nullptr, hexadecimal(id, 4));
        if (application_.numberOf("organisation_id") == 0)
            add("organisation-id-zero", nullptr, "organisation_id 0");
    }

    void checkControlCode()
    {
        const uint64_t code = application_.numberOf("application_control_code");
        if (nameOfControlCode(code).empty())
            add("control-code-unknown", nullptr, std::to_string(code));
    }

    void collectTransports()
    {
        for (const Node* const transport : descriptorsOf(descriptors_, transportTag)) {
            const uint64_t label = transport->numberOf("transport_protocol_label");
            if (!own_.emplace(label, transport).second)
                add("transport-twice", transport, "label " + std::to_string(label));
        }
    }

    void checkDescriptor()
    {
        const auto found = descriptorsOf(descriptors_, applicationTag);
        if (found.empty()) {
            add("application-descriptor-missing", nullptr, "no application_descriptor");
        } else {
            const Node& descriptor = *found.front();
            priority_ = descriptor.numberOf("application_priority");
            checkProfiles(descriptor);
            checkLabels(descriptor);
            constexpr uint64_t reserved = 2;
            if (descriptor.numberOf("visibility") == reserved)
                add("visibility-reserved", &descriptor, "visibility 2");
        }
        for (const auto& [label, transport] : own_) {
            if (labels_.count(label) == 0)
                add("transport-unused", transport, "label " + std::to_string(label));
        }
        for (const Node& descriptor : descriptors_) {
            if (descriptor.find("malformed"))
                add("descriptor-malformed", &descriptor, descriptor.textOf("descriptor"));
        }
    }

    void checkProfiles(const Node& descriptor)
    {
        const std::list<Node>& profiles = descriptor.listOf("profiles");
        if (profiles.empty())
            add("profile-missing", &descriptor, "no profile");
        const bool isOneKnown = std::any_of(profiles.begin(), profiles.end(), isProfileKnown);
        for (const Node& profile : profiles) {
            if (!isProfileKnown(profile))
                add(isOneKnown ? "profile-unused" : "profile-unknown", &descriptor,
                    versionOf(profile));
            else if (!isVersionPublished(profile))
                add("profile-version", &descriptor, versionOf(profile));
        }
    }

    void checkLabels(const Node& descriptor)
    {
        for (const Node& label : descriptor.listOf("transport_protocol_labels"))
            labels_.insert(label.number);
        if (labels_.empty())
            add("transport-none", &descriptor, "no transport_protocol_label");
        bool hasHttp = false;
        bool hasOther = false;
        bool hasUnknown = false;
        for (const uint64_t label : labels_) {
            const Node* const transport = transportOf(label);
            if (!transport) {
                add("transport-missing", &descriptor, "label " + std::to_string(label));
                continue;
            }
            const uint64_t protocol = transport->numberOf("protocol_id");
            hasHttp = hasHttp || protocol == httpProtocol;
            hasOther = hasOther || protocol == carouselProtocol;
            hasUnknown = hasUnknown || (protocol != httpProtocol && protocol != carouselProtocol);
            checkTransport(*transport, protocol);
        }
        if (hasUnknown && !hasHttp && !hasOther)
            add("transport-unusable", &descriptor, "no transport is the object carousel or HTTP");
        if (isAutostart() && hasHttp && !hasOther)
            add("autostart-http-only", &descriptor, "every transport is HTTP");
    }

    const Node* transportOf(uint64_t label) const
    {
        const auto own = own_.find(label);
        if (own != own_.end())
            return own->second;
        const auto common = common_.find(label);
        return common == common_.end() ? nullptr : common->second;
    }

    void checkTransport(const Node& transport, uint64_t protocol)
    {
        // The place of a common transport may be another section's.
        const uint64_t label = transport.numberOf("transport_protocol_label");
        const Node* const where = own_.count(label) != 0 ? &transport : nullptr;
        if (protocol != carouselProtocol && protocol != httpProtocol)
            add("transport-protocol", where, "protocol_id " + hexadecimal(protocol, 4));
        if (protocol != httpProtocol)
            return;
        const std::list<Node>& urls = transport.listOf("urls");
        const std::string base = urls.empty() ? "" : urls.front().textOf("URL_base");
        if (!startsWith(base, "http://") && !startsWith(base, "https://"))
            add("transport-url", where, "URL_base \"" + base + "\"");
    }

    void checkLocation()
    {
        if (isStarted() && descriptorsOf(descriptors_, locationTag).empty())
            add("location-missing", nullptr, "no simple_application_location_descriptor");
        for (const Address* const address : addresses_)
            checkAddress(*address);
    }

    void checkAddress(const Address& address)
    {
        const std::string detail =
            address.url + (address.reason.empty() ? "" : ": " + address.reason);
        switch (address.leadsTo) {
        case LeadsTo::Nothing:
            return add("location-unresolved", nullptr, detail);
        case LeadsTo::Incomplete:
            return add("location-incomplete", nullptr, detail);
        case LeadsTo::NoCarousel:
            return add("transport-component", nullptr, detail);
        case LeadsTo::OtherService:
            return add("transport-other-service", nullptr, detail);
        default:
            return;
        }
    }

    void checkBoundary()
    {
        for (const Node* const descriptor : descriptorsOf(descriptors_, boundaryTag)) {
            for (const Node& extension : descriptor->listOf("boundary_extensions"))
                checkExtension(*descriptor, extension.text);
        }
        checkPages();
    }

    void checkExtension(const Node& descriptor, const std::string& extension)
    {
        const std::string quoted = "\"" + extension + "\"";
        if (isOrigin(extension) && !boundary_.addBoundaryExtension(extension))
            return add("boundary-several-hosts", &descriptor, quoted);
        extensions_.push_back(extension);
        if (!isOrigin(extension) && !extension.empty())
            return add("boundary-not-an-origin", &descriptor, quoted);
        ApplicationDomain alone;
        alone.addBoundaryExtension(extension);
        for (const char* const anyPage : {"http://any.example/", "https://any.example/"}) {
            if (alone.isWithinBoundaries(anyPage))
                return add("boundary-opens-everything", &descriptor, quoted);
        }
    }

    static bool isOrigin(const std::string& extension)
    {
        return startsWith(extension, "http://") || startsWith(extension, "https://") ||
               startsWith(extension, "dvb://");
    }

    /// As the application manager does it: the page first, then the extensions.
    void checkPages()
    {
        for (const Address* const address : addresses_) {
            if (address->leadsTo != LeadsTo::Network || extensions_.empty())
                continue;
            ApplicationDomain domain;
            domain.addBoundaryExtension(address->url);
            bool isInside = false;
            for (const std::string& extension : extensions_) {
                isInside = isInside || startsWith(originOf(address->url), originOf(extension));
                if (isOrigin(extension) && !domain.addBoundaryExtension(extension))
                    add("boundary-foreign-host", nullptr,
                        "\"" + extension + "\", the page is " + address->url);
            }
            if (!isInside)
                add("boundary-page-outside", nullptr, address->url);
        }
    }

    const Node& application_;
    const std::list<Node>& descriptors_;
    const Transports& common_;
    std::vector<const Address*> addresses_;
    Place place_;
    Findings& findings_;
    Transports own_;
    std::set<uint64_t> labels_;
    uint64_t priority_ = 0;
    ApplicationDomain boundary_;           // as the application manager keeps it of the table
    std::vector<std::string> extensions_;  // that are in it, or would be
};

/// A table: its applications, and what they share.
class TableCheck {
public:
    TableCheck(const TableVersion& table, std::vector<Address> addresses, const Place& place,
               Findings& findings)
        : table_(table), addresses_(std::move(addresses)), place_(place), findings_(findings)
    {
    }

    void run()
    {
        for (const auto& [number, section] : table_.sections)
            collectCommon(number, section.tree);
        for (const auto& [number, section] : table_.sections) {
            for (const Node& application : section.tree.listOf("applications"))
                checkApplication(number, application);
        }
        for (const auto& [label, place] : commonPlaces_) {
            if (usedLabels_.count(label) == 0)
                findings_.add("transport-unused", place, "common label " + std::to_string(label));
        }
        checkPriorities();
    }

private:
    void collectCommon(uint8_t number, const Node& section)
    {
        for (const Node* const transport :
             descriptorsOf(section.listOf("common_descriptors"), transportTag)) {
            const uint64_t label = transport->numberOf("transport_protocol_label");
            Place place = place_;
            place.section = number;
            place.offset = transport->place;
            if (common_.emplace(label, transport).second)
                commonPlaces_.emplace(label, place);
            else
                findings_.add("transport-twice", place, "common label " + std::to_string(label));
        }
    }

    void checkApplication(uint8_t number, const Node& application)
    {
        Place place = place_;
        place.section = number;
        ApplicationCheck check(application, common_, addresses_, place, findings_);
        check.run();
        usedLabels_.insert(check.labels().begin(), check.labels().end());
        Place where = check.place();
        where.offset = application.place;
        if (!names_.insert(where.application).second)
            findings_.add("application-twice", where, where.application);
        if (check.isAutostart())
            autostarts_[check.priority()].push_back(where);
    }

    void checkPriorities()
    {
        for (const auto& [priority, places] : autostarts_) {
            if (places.size() < 2)
                continue;
            std::string names;
            for (const Place& place : places)
                names += (names.empty() ? "" : ", ") + place.application;
            findings_.add("autostart-equal-priority", places[1],
                          names + " have priority " + std::to_string(priority));
        }
    }

    const TableVersion& table_;
    const std::vector<Address> addresses_;
    const Place& place_;
    Findings& findings_;
    Transports common_;
    std::map<uint64_t, Place> commonPlaces_;
    std::set<uint64_t> usedLabels_;
    std::set<std::string> names_;
    std::map<uint64_t, std::vector<Place>> autostarts_;  // by priority
};

}  // namespace

void checkApplications(const Survey& survey, const ServiceSurvey* service,
                       const TableVersion& table, const Place& place, Findings& findings)
{
    if (isTakenByFeed(costOf(table)))
        TableCheck(table, addressesOf(survey, service, table), place, findings).run();
}

}  // namespace inspector
