// Descriptors of an AIT: ETSI TS 102 809, 5.3.5 to 5.3.9, as far as ETSI TS 102 796, 7.2.3.1 has
// use for them, and those of other types of applications that share the table.
#include <iterator>

#include "inspector/decode/descriptor_table.h"
#include "inspector/decode/descriptors.h"

namespace inspector {

namespace {

constexpr uint16_t carouselProtocol = 1;
constexpr uint16_t multiprotocolEncapsulation = 2;
constexpr uint16_t httpProtocol = 3;

std::string nameOfProtocol(uint64_t protocol)
{
    switch (protocol) {
    case carouselProtocol:
        return "object carousel";
    case multiprotocolEncapsulation:
        return "IP over multiprotocol encapsulation";
    case httpProtocol:
        return "HTTP";
    default:
        return "";
    }
}

void decodeApplicationId(FieldReader& fields, Node& into)
{
    fields.hexadecimal(into, "organisation_id", 4);
    fields.hexadecimal(into, "application_id", 2);
}

void decodeApplication(FieldReader& payload, Node& into)
{
    FieldReader profiles = payload.take(payload.u8());
    Node& list = into.addList("profiles");
    while (!profiles.empty()) {
        Node& profile = list.addObject("", "profile");
        profiles.hexadecimal(profile, "application_profile", 2);
        profiles.number(profile, "version_major", 1);
        profiles.number(profile, "version_minor", 1);
        profiles.number(profile, "version_micro", 1);
    }
    payload.require(profiles);
    const uint8_t flags = payload.u8();
    into.addFlag("service_bound_flag", (flags & 0x80) != 0);
    static const char* const visibilities[] = {"not visible to users or applications",
                                               "not visible to users, visible to applications",
                                               "reserved", "visible to users and applications"};
    const unsigned visibility = (flags >> 5) & 3U;
    into.addNumber("visibility", visibility, visibilities[visibility]);
    payload.number(into, "application_priority", 1);
    Node& labels = into.addList("transport_protocol_labels");
    while (!payload.empty())
        labels.addNumber("", payload.u8());
}

void decodeNames(FieldReader& payload, Node& into)
{
    Node& names = into.addList("names");
    while (!payload.empty()) {
        Node& name = names.addObject("", "name");
        payload.text(name, "language", 3);
        payload.text8(name, "application_name");
    }
}

/// What says which service it is, where it is another one.
void decodeConnection(FieldReader& payload, Node& into)
{
    const bool isRemote = (payload.u8() & 0x80) != 0;
    into.addFlag("remote_connection", isRemote);
    if (!isRemote)
        return;
    payload.hexadecimal(into, "original_network_id", 2);
    payload.hexadecimal(into, "transport_stream_id", 2);
    payload.hexadecimal(into, "service_id", 2);
}

void decodeHttpTransport(FieldReader& payload, Node& into)
{
    Node& urls = into.addList("urls");
    while (!payload.empty()) {
        Node& url = urls.addObject("", "url");
        payload.text8(url, "URL_base");
        Node& extensions = url.addList("URL_extensions");
        for (unsigned count = payload.u8(); count > 0 && payload.ok(); --count)
            payload.text8(extensions, "");
    }
}

void decodeTransport(FieldReader& payload, Node& into)
{
    const uint16_t protocol = payload.u16();
    into.addHexadecimal("protocol_id", protocol, nameOfProtocol(protocol));
    payload.number(into, "transport_protocol_label", 1);
    if (protocol == carouselProtocol) {
        decodeConnection(payload, into);
        payload.hexadecimal(into, "component_tag", 1);
    } else if (protocol == httpProtocol) {
        decodeHttpTransport(payload, into);
    } else if (protocol == multiprotocolEncapsulation) {
        decodeConnection(payload, into);
        into.addFlag("alignment_indicator", (payload.u8() & 0x80) != 0);
        Node& urls = into.addList("urls");
        while (!payload.empty())
            payload.text8(urls, "");
    } else {
        payload.rest(into, "selector");
    }
}

void decodeJavaApplication(FieldReader& payload, Node& into)
{
    Node& parameters = into.addList("parameters");
    while (!payload.empty())
        payload.text8(parameters, "");
}

void decodeJavaLocation(FieldReader& payload, Node& into)
{
    payload.text8(into, "base_directory");
    payload.text8(into, "classpath_extension");
    payload.text(into, "initial_class", payload.remaining());
}

void decodeAuthorizations(FieldReader& payload, Node& into)
{
    Node& applications = into.addList("applications");
    while (!payload.empty()) {
        Node& application = applications.addObject("", "application");
        decodeApplicationId(payload, application);
        payload.number(application, "application_priority", 1);
    }
}

void decodeRecording(FieldReader& payload, Node& into)
{
    const uint8_t flags = payload.u8();
    into.addFlag("scheduled_recording_flag", (flags & 0x80) != 0);
    into.addFlag("trick_mode_aware_flag", (flags & 0x40) != 0);
    into.addFlag("time_shift_flag", (flags & 0x20) != 0);
    into.addFlag("dynamic_flag", (flags & 0x10) != 0);
    into.addFlag("av_synced_flag", (flags & 0x08) != 0);
    into.addFlag("initiating_replay_flag", (flags & 0x04) != 0);
    Node& labels = into.addList("labels");
    for (unsigned count = payload.u8(); count > 0 && payload.ok(); --count) {
        Node& label = labels.addObject("", "label");
        payload.text8(label, "label");
        label.addNumber("storage_properties", payload.u8() >> 6);
    }
    Node& tags = into.addList("component_tags");
    for (unsigned count = payload.u8(); count > 0 && payload.ok(); --count)
        tags.addHexadecimal("", payload.u8());
    FieldReader privateData = payload.take(payload.u8());
    privateData.rest(into, "private_data");
}

void decodeHtmlApplication(FieldReader& payload, Node& into)
{
    FieldReader ids = payload.take(payload.u8());
    Node& list = into.addList("application_ids");
    while (!ids.empty())
        list.addHexadecimal("", ids.u16());
    payload.require(ids);
    payload.text(into, "parameter", payload.remaining());
}

void decodeHtmlLocation(FieldReader& payload, Node& into)
{
    payload.text8(into, "physical_root");
    payload.text(into, "initial_path", payload.remaining());
}

void decodeHtmlBoundary(FieldReader& payload, Node& into)
{
    payload.text8(into, "label");
    payload.text(into, "regular_expression", payload.remaining());
}

void decodeIcons(FieldReader& payload, Node& into)
{
    payload.text8(into, "icon_locator");
    payload.hexadecimal(into, "icon_flags", 2);
}

void decodePrefetch(FieldReader& payload, Node& into)
{
    payload.number(into, "transport_protocol_label", 1);
    Node& modules = into.addList("modules");
    while (!payload.empty()) {
        Node& module = modules.addObject("", "module");
        payload.text8(module, "label");
        payload.number(module, "prefetch_priority", 1);
    }
}

void decodeDiiLocation(FieldReader& payload, Node& into)
{
    payload.number(into, "transport_protocol_label", 1);
    Node& indications = into.addList("indications");
    while (!payload.empty()) {
        Node& indication = indications.addObject("", "indication");
        indication.addHexadecimal("DII_identification", payload.u16() & 0x7FFF);
        payload.hexadecimal(indication, "association_tag", 2);
    }
}

void decodeDelegated(FieldReader& payload, Node& into)
{
    Node& applications = into.addList("applications");
    while (!payload.empty())
        decodeApplicationId(payload, applications.addObject("", "application"));
}

void decodeStorage(FieldReader& payload, Node& into)
{
    payload.number(into, "storage_property", 1);
    const uint8_t flags = payload.u8();
    into.addFlag("not_launchable_from_broadcast", (flags & 0x80) != 0);
    into.addFlag("launchable_completely_from_cache", (flags & 0x40) != 0);
    into.addFlag("is_launchable_with_older_version", (flags & 0x20) != 0);
    into.addNumber("version", payload.u32() & 0x7FFFFFFF);
    payload.number(into, "priority", 1);
}

void decodeIpSignalling(FieldReader& payload, Node& into)
{
    payload.hexadecimal(into, "platform_id", 3);
}

void decodeGraphicsConstraints(FieldReader& payload, Node& into)
{
    const uint8_t flags = payload.u8();
    into.addFlag("can_run_without_visible_ui", (flags & 0x04) != 0);
    into.addFlag("handles_configuration_changed", (flags & 0x02) != 0);
    into.addFlag("handles_externally_controlled_video", (flags & 0x01) != 0);
    Node& configurations = into.addList("graphics_configurations");
    while (!payload.empty())
        configurations.addNumber("", payload.u8());
}

void decodeLocation(FieldReader& payload, Node& into)
{
    payload.text(into, "initial_path", payload.remaining());
}

void decodeUsage(FieldReader& payload, Node& into)
{
    const uint8_t usage = payload.u8();
    into.addNumber("usage_type", usage, usage == 1 ? "digital text" : "");
}

void decodeBoundary(FieldReader& payload, Node& into)
{
    Node& extensions = into.addList("boundary_extensions");
    for (unsigned count = payload.u8(); count > 0 && payload.ok(); --count)
        payload.text8(extensions, "");
}

const DescriptorKind kinds[] = {
    {0x00, "application_descriptor", decodeApplication},
    {0x01, "application_name_descriptor", decodeNames},
    {0x02, "transport_protocol_descriptor", decodeTransport},
    {0x03, "dvb_j_application_descriptor", decodeJavaApplication},
    {0x04, "dvb_j_application_location_descriptor", decodeJavaLocation},
    {0x05, "external_application_authorization_descriptor", decodeAuthorizations},
    {0x06, "application_recording_descriptor", decodeRecording},
    {0x08, "dvb_html_application_descriptor", decodeHtmlApplication},
    {0x09, "dvb_html_application_location_descriptor", decodeHtmlLocation},
    {0x0A, "dvb_html_application_boundary_descriptor", decodeHtmlBoundary},
    {0x0B, "application_icons_descriptor", decodeIcons},
    {0x0C, "prefetch_descriptor", decodePrefetch},
    {0x0D, "DII_location_descriptor", decodeDiiLocation},
    {0x0E, "delegated_application_descriptor", decodeDelegated},
    {0x0F, "plug_in_descriptor", nullptr},
    {0x10, "application_storage_descriptor", decodeStorage},
    {0x11, "ip_signalling_descriptor", decodeIpSignalling},
    {0x14, "graphics_constraints_descriptor", decodeGraphicsConstraints},
    {0x15, "simple_application_location_descriptor", decodeLocation},
    {0x16, "application_usage_descriptor", decodeUsage},
    {0x17, "simple_application_boundary_descriptor", decodeBoundary},
    {0x55, "parental_rating_descriptor", decodeParentalRating},
    {0x5F, "private_data_specifier_descriptor", decodePrivateDataSpecifier},
};

}  // namespace

DescriptorTable aitDescriptors()
{
    return {std::begin(kinds), std::end(kinds)};
}

std::string nameOfControlCode(uint64_t code)
{
    static const char* const names[] = {"",        "AUTOSTART", "PRESENT",
                                        "DESTROY", "KILL",      "PREFETCH",
                                        "REMOTE",  "DISABLED",  "PLAYBACK_AUTOSTART"};
    return code < std::size(names) ? names[code] : "";
}

std::string nameOfApplicationType(uint64_t type)
{
    switch (type) {
    case 0x0001:
        return "DVB-J";
    case 0x0002:
        return "DVB-HTML";
    case 0x0010:
        return "HbbTV";
    default:
        return "";
    }
}

}  // namespace inspector
