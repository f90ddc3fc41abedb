// What an AIT says of its applications.
#include <algorithm>
#include <set>

#include "inspector/check/boundary_check.h"
#include "inspector/check/checks.h"
#include "inspector/check/web_address.h"
#include "inspector/decode/descriptors.h"
#include "inspector/survey/addresses.h"

namespace inspector {

namespace {

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
            if (found.size() > 1)
                add("application-descriptor-twice", found[1],
                    std::to_string(found.size()) + " application_descriptors");
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
        checkWebAddress(urls.empty() ? "" : urls.front().textOf("URL_base"), where);
    }

    /// @param where the transport stands; null where that is another section
    void checkWebAddress(const std::string& base, const Node* where)
    {
        const std::string path = location();
        if (const std::string problem = problemOfWebBase(base); !problem.empty())
            add("transport-url", where, "URL_base \"" + base + "\": " + problem);
        else if (const std::string joint = problemOfJoint(base, path); !joint.empty())
            add("location-url", nullptr, "\"" + base + "\" and \"" + path + "\": " + joint);
    }

    void checkLocation()
    {
        const auto found = descriptorsOf(descriptors_, locationTag);
        if (isStarted() && found.empty())
            add("location-missing", nullptr, "no simple_application_location_descriptor");
        if (found.size() > 1)
            add("location-twice", found[1], joined(found));
        for (const Address* const address : addresses_)
            checkAddress(*address);
    }

    static std::string joined(const std::vector<const Node*>& locations)
    {
        std::string paths;
        for (const Node* const location : locations)
            paths += (paths.empty() ? "\"" : ", \"") + location->textOf("initial_path") + "\"";
        return paths;
    }

    /// What follows the base of a transport.
    std::string location() const
    {
        std::string path;
        for (const Node* const location : descriptorsOf(descriptors_, locationTag))
            path += location->textOf("initial_path");
        return path;
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
        std::vector<std::string> pages;
        for (const Address* const address : addresses_) {
            if (!address->url.empty())
                pages.push_back(address->url);
        }
        const Node* where = nullptr;
        const auto report = [this, &where](const char* id, const std::string& detail) {
            add(id, where, detail);
        };
        BoundaryCheck boundary(pages);
        for (const Node* const descriptor : descriptorsOf(descriptors_, boundaryTag)) {
            where = descriptor;
            for (const Node& extension : descriptor->listOf("boundary_extensions"))
                boundary.add(extension.text, report);
        }
        where = nullptr;
        boundary.finish(report);
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
    Place placeOfCommon(uint8_t number, const Node& descriptor) const
    {
        Place place = place_;
        place.section = number;
        place.offset = descriptor.place;
        return place;
    }

    void collectCommon(uint8_t number, const Node& section)
    {
        for (const Node& descriptor : section.listOf("common_descriptors")) {
            if (descriptor.find("malformed"))
                findings_.add("descriptor-malformed", placeOfCommon(number, descriptor),
                              "common " + descriptor.textOf("descriptor"));
        }
        for (const Node* const transport :
             descriptorsOf(section.listOf("common_descriptors"), transportTag)) {
            const uint64_t label = transport->numberOf("transport_protocol_label");
            const Place place = placeOfCommon(number, *transport);
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
        checkApplications(table, addressesOf(survey, service, table), place, findings);
}

void checkApplications(const TableVersion& table, const std::vector<Address>& addresses,
                       const Place& place, Findings& findings)
{
    TableCheck(table, addresses, place, findings).run();
}

}  // namespace inspector
