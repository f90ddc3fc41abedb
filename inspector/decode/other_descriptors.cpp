// Descriptors of PMT, SDT and EIT: ISO/IEC 13818-1, 2.6; ISO/IEC 13818-6; ETSI EN 300 468, 6; ETSI
// TS 102 809, 5.3.5.1.
#include <iterator>

#include "inspector/decode/descriptor_table.h"
#include "inspector/decode/descriptors.h"
#include "receiver/text/dvb_text.h"

namespace inspector {

namespace {

void addDvbText(FieldReader& payload, Node& into, const char* name)
{
    into.addText(name, receiver::decodeDvbText(payload.raw(payload.u8())));
}

void decodeLanguages(FieldReader& payload, Node& into)
{
    Node& languages = into.addList("languages");
    while (!payload.empty()) {
        Node& language = languages.addObject("", "language");
        payload.text(language, "language", 3);
        payload.number(language, "audio_type", 1);
    }
}

void decodeRegistration(FieldReader& payload, Node& into)
{
    payload.hexadecimal(into, "format_identifier", 4);
}

void decodeCarouselIdentifier(FieldReader& payload, Node& into)
{
    payload.hexadecimal(into, "carousel_id", 4);
}

void decodeAssociationTag(FieldReader& payload, Node& into)
{
    payload.hexadecimal(into, "association_tag", 2);
    payload.hexadecimal(into, "use", 2);
    FieldReader selector = payload.take(payload.u8());
    selector.rest(into, "selector");
    payload.require(selector);
}

void decodeDeferredAssociationTags(FieldReader& payload, Node& into)
{
    FieldReader tags = payload.take(payload.u8());
    Node& list = into.addList("association_tags");
    while (!tags.empty())
        list.addHexadecimal("", tags.u16());
    payload.require(tags);
    payload.hexadecimal(into, "transport_stream_id", 2);
    payload.hexadecimal(into, "program_number", 2);
}

void decodeService(FieldReader& payload, Node& into)
{
    payload.hexadecimal(into, "service_type", 1);
    addDvbText(payload, into, "service_provider_name");
    addDvbText(payload, into, "service_name");
}

void decodeShortEvent(FieldReader& payload, Node& into)
{
    payload.text(into, "language", 3);
    addDvbText(payload, into, "event_name");
    addDvbText(payload, into, "text");
}

void decodeStreamIdentifier(FieldReader& payload, Node& into)
{
    payload.hexadecimal(into, "component_tag", 1);
}

void decodeDataBroadcastId(FieldReader& payload, Node& into)
{
    const uint16_t id = payload.u16();
    const char* const meaning = id == 0x0007   ? "object carousel"
                                : id == 0x00F0 ? "MHP object carousel"
                                : id == 0x0123 ? "HbbTV carousel"
                                               : "";
    into.addHexadecimal("data_broadcast_id", id, meaning);
}

void decodeApplicationSignalling(FieldReader& payload, Node& into)
{
    Node& types = into.addList("application_types");
    while (!payload.empty()) {
        Node& type = types.addObject("", "type");
        const unsigned number = payload.u16() & 0x7FFFU;
        type.addHexadecimal("application_type", number, nameOfApplicationType(number));
        type.addNumber("AIT_version_number", payload.u8() & 0x1F);
    }
}

const DescriptorKind kinds[] = {
    {0x05, "registration_descriptor", decodeRegistration},
    {0x09, "CA_descriptor", nullptr},
    {0x0A, "ISO_639_language_descriptor", decodeLanguages},
    {0x13, "carousel_identifier_descriptor", decodeCarouselIdentifier},
    {0x14, "association_tag_descriptor", decodeAssociationTag},
    {0x15, "deferred_association_tags_descriptor", decodeDeferredAssociationTags},
    {0x48, "service_descriptor", decodeService},
    {0x4D, "short_event_descriptor", decodeShortEvent},
    {0x50, "component_descriptor", nullptr},
    {0x52, "stream_identifier_descriptor", decodeStreamIdentifier},
    {0x54, "content_descriptor", nullptr},
    {0x55, "parental_rating_descriptor", decodeParentalRating},
    {0x56, "teletext_descriptor", nullptr},
    {0x59, "subtitling_descriptor", nullptr},
    {0x5F, "private_data_specifier_descriptor", decodePrivateDataSpecifier},
    {0x64, "data_broadcast_descriptor", nullptr},
    {0x66, "data_broadcast_id_descriptor", decodeDataBroadcastId},
    {0x6A, "AC-3_descriptor", nullptr},
    {0x6F, "application_signalling_descriptor", decodeApplicationSignalling},
    {0x7A, "enhanced_AC-3_descriptor", nullptr},
    {0x7C, "AAC_descriptor", nullptr},
};

}  // namespace

DescriptorTable otherDescriptors()
{
    return {std::begin(kinds), std::end(kinds)};
}

void decodeParentalRating(FieldReader& payload, Node& into)
{
    Node& ratings = into.addList("ratings");
    while (!payload.empty()) {
        Node& rating = ratings.addObject("", "rating");
        payload.text(rating, "country_code", 3);
        payload.hexadecimal(rating, "rating", 1);
    }
}

void decodePrivateDataSpecifier(FieldReader& payload, Node& into)
{
    payload.hexadecimal(into, "private_data_specifier", 4);
}

}  // namespace inspector
