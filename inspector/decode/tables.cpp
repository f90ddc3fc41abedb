#include "inspector/decode/tables.h"

#include <algorithm>

#include "inspector/decode/descriptors.h"
#include "inspector/decode/field_reader.h"
#include "kit/crc32.h"

namespace inspector {

namespace {

using receiver::SectionBytes;
using VestaHbbTV::ByteReader;

constexpr size_t tableHeaderSize = 8;

/// A loop after its length of 12 bits; what leaves the section is cut and noted.
FieldReader takeLoop(FieldReader& reader, Node& into)
{
    const size_t length = reader.length12();
    const bool fits = reader.ok() && length <= reader.remaining();
    if (!fits)
        into.addFlag("malformed", true);
    return reader.take(std::min(length, reader.remaining()));
}

void decodeLoop(TagSpace space, FieldReader& reader, Node& into, const char* listName)
{
    const FieldReader loop = takeLoop(reader, into);
    if (!decodeDescriptors(space, loop, into, listName) && !into.find("malformed"))
        into.addFlag("malformed", true);
}

void decodePat(FieldReader body, Node& section)
{
    Node& programs = section.addList("programs");
    constexpr size_t entrySize = 4;
    while (body.remaining() >= entrySize) {
        Node& program = programs.addObject("", "program");
        program.place = body.place();
        const bool isNetwork = body.number(program, "program_number", 2) == 0;
        program.addHexadecimal(isNetwork ? "network_PID" : "program_map_PID", body.u16() & 0x1FFF);
    }
}

std::string nameOfStreamType(unsigned type)
{
    switch (type) {
    case 0x01:
    case 0x02:
        return "MPEG-2 video";
    case 0x03:
    case 0x04:
        return "MPEG audio";
    case 0x05:
        return "private sections";
    case 0x06:
        return "private data";
    case 0x0B:
        return "DSM-CC sections, object carousel";
    case 0x0C:
        return "DSM-CC stream descriptors";
    case 0x0D:
        return "DSM-CC sections";
    case 0x0F:
    case 0x11:
        return "AAC audio";
    case 0x1B:
        return "H.264 video";
    case 0x24:
        return "HEVC video";
    default:
        return "";
    }
}

void decodePmt(FieldReader body, Node& section)
{
    section.addHexadecimal("PCR_PID", body.u16() & 0x1FFF);
    decodeLoop(TagSpace::Others, body, section, "program_descriptors");
    Node& streams = section.addList("streams");
    while (!body.empty()) {
        const size_t place = body.place();
        const unsigned type = body.u8();
        Node& stream = streams.addObject("", "stream");
        stream.place = place;
        stream.addHexadecimal("stream_type", type, nameOfStreamType(type));
        const unsigned pid = body.u16() & 0x1FFFU;
        stream.addHexadecimal("elementary_PID", pid).quiet();
        stream.title = "PID " + hexadecimal(pid, 4);
        decodeLoop(TagSpace::Others, body, stream, "descriptors");
    }
}

std::string nameOfRunningStatus(unsigned status)
{
    static const char* const names[] = {"undefined",
                                        "not running",
                                        "starts in a few seconds",
                                        "pausing",
                                        "running",
                                        "service off-air",
                                        "",
                                        ""};
    return names[status & 7U];
}

/// running_status, free_CA_mode and the length of a loop of descriptors, which share two bytes.
void decodeStatusAndLoop(FieldReader& body, Node& into)
{
    FieldReader status = body;
    const uint8_t bits = status.u8();
    into.addNumber("running_status", bits >> 5, nameOfRunningStatus(bits >> 5));
    into.addFlag("free_CA_mode", (bits & 0x10) != 0);
    decodeLoop(TagSpace::Others, body, into, "descriptors");
}

void decodeSdt(FieldReader body, Node& section)
{
    body.hexadecimal(section, "original_network_id", 2);
    body.skip(1);
    Node& services = section.addList("services");
    while (!body.empty()) {
        const size_t place = body.place();
        Node& service = services.addObject("", "service");
        service.place = place;
        const unsigned id = body.u16();
        service.addNumber("service_id", id).quiet();
        service.title = "service " + std::to_string(id);
        const uint8_t flags = body.u8();
        service.addFlag("EIT_schedule_flag", (flags & 2) != 0);
        service.addFlag("EIT_present_following_flag", (flags & 1) != 0);
        decodeStatusAndLoop(body, service);
    }
}

void decodeEit(FieldReader body, Node& section)
{
    body.hexadecimal(section, "transport_stream_id", 2);
    body.hexadecimal(section, "original_network_id", 2);
    body.number(section, "segment_last_section_number", 1);
    body.hexadecimal(section, "last_table_id", 1);
    Node& events = section.addList("events");
    constexpr size_t timesSize = 8;
    while (!body.empty()) {
        const size_t place = body.place();
        Node& event = events.addObject("", "event");
        event.place = place;
        body.number(event, "event_id", 2);
        event.addBytes("start_time_and_duration", body.raw(timesSize));
        decodeStatusAndLoop(body, event);
    }
}

void decodeApplications(FieldReader loop, Node& section)
{
    Node& applications = section.addList("applications");
    while (!loop.empty()) {
        const size_t place = loop.place();
        Node& application = applications.addObject("", "application");
        application.place = place;
        const uint32_t organisation = loop.u32();
        const unsigned id = loop.u16();
        application.addHexadecimal("organisation_id", organisation).quiet();
        application.addHexadecimal("application_id", id).quiet();
        application.title =
            "application " + hexadecimal(organisation).substr(2) + "." + hexadecimal(id).substr(2);
        const uint8_t code = loop.u8();
        application.addNumber("application_control_code", code, nameOfControlCode(code));
        decodeLoop(TagSpace::AIT, loop, application, "descriptors");
    }
}

void decodeAit(FieldReader body, Node& section)
{
    decodeLoop(TagSpace::AIT, body, section, "common_descriptors");
    const FieldReader loop = takeLoop(body, section);
    decodeApplications(loop, section);
}

/// table_id_extension, by the name that it has in the table.
void decodeExtension(uint8_t tableId, unsigned extension, Node& into)
{
    switch (tableId) {
    case patTable:
    case sdtTable:
        into.addHexadecimal("transport_stream_id", extension);
        break;
    case pmtTable:
        into.addNumber("program_number", extension);
        break;
    case aitTable: {
        const unsigned type = extension & 0x7FFFU;
        into.addFlag("test_application_flag", (extension & 0x8000U) != 0).isQuiet =
            (extension & 0x8000U) == 0;
        into.addHexadecimal("application_type", type, nameOfApplicationType(type));
        break;
    }
    case presentFollowingTable:
        into.addNumber("service_id", extension);
        break;
    default:
        into.addHexadecimal("table_id_extension", extension);
    }
}

void decodeTable(uint8_t tableId, FieldReader body, Node& section)
{
    switch (tableId) {
    case patTable:
        return decodePat(body, section);
    case pmtTable:
        return decodePmt(body, section);
    case sdtTable:
        return decodeSdt(body, section);
    case presentFollowingTable:
        return decodeEit(body, section);
    case aitTable:
        return decodeAit(body, section);
    default:
        return body.rest(section, "body");
    }
}

}  // namespace

std::string nameOfTable(uint8_t tableId)
{
    switch (tableId) {
    case patTable:
        return "PAT";
    case pmtTable:
        return "PMT";
    case sdtTable:
        return "SDT";
    case presentFollowingTable:
        return "EIT present/following";
    case aitTable:
        return "AIT";
    case 0x3B:
        return "DSM-CC control messages";
    case 0x3C:
        return "DSM-CC data messages";
    case 0x3D:
        return "DSM-CC stream descriptors";
    default:
        return "table " + hexadecimal(tableId, 2);
    }
}

Node decodeSection(const SectionBytes& bytes)
{
    Node section;
    FieldReader reader(ByteReader(bytes.data(), bytes.size()), 0);
    const uint8_t tableId = reader.u8();
    section.title = "section of " + nameOfTable(tableId);
    section.addHexadecimal("table_id", tableId, nameOfTable(tableId)).quiet();
    const uint16_t lengthWord = reader.u16();
    section.addNumber("section_length", lengthWord & 0x0FFF).quiet();
    const bool hasSyntax = (lengthWord & 0x8000) != 0;
    section.addFlag("section_syntax_indicator", hasSyntax).isQuiet = hasSyntax;
    if (!hasSyntax || bytes.size() < tableHeaderSize + VestaHbbTV::checksumSize) {
        reader.rest(section, "body");
        return section;
    }
    decodeExtension(tableId, reader.u16(), section);
    const uint8_t version = reader.u8();
    section.addNumber("version_number", (version >> 1) & 0x1F).quiet();
    section.addFlag("current_next_indicator", (version & 1) != 0).isQuiet = (version & 1) != 0;
    const unsigned number = reader.u8();
    const unsigned last = reader.u8();
    section.addNumber("section_number", number).quiet();
    section.addNumber("last_section_number", last).quiet();
    section.title = "section " + std::to_string(number) + " of " + std::to_string(last) + ", " +
                    counted(bytes.size(), "byte");
    decodeTable(tableId, reader.take(reader.remaining() - VestaHbbTV::checksumSize), section);
    const bool matches = VestaHbbTV::crc32(bytes.data(), bytes.size()) == 0;
    section.addFlag("CRC_32_matches", matches).isQuiet = matches;
    return section;
}

}  // namespace inspector
