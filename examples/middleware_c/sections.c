#include "sections.h"

#include <string.h>

enum { SECTION_HEADER = 3, STUFFING = 0xFF, COUNTERS = 16 };

static size_t size_of_section(const uint8_t* header)
{
    return SECTION_HEADER + ((size_t)(header[1] & 0x0F) << 8 | header[2]);
}

/* ISO/IEC 13818-1, annex A: over a whole section, CRC_32 included, the rest is 0. */
static uint32_t crc32_of(const uint8_t* bytes, size_t size)
{
    uint32_t rest = 0xFFFFFFFF;
    for (size_t n = 0; n < size; ++n) {
        rest ^= (uint32_t)bytes[n] << 24;
        for (int bit = 0; bit < 8; ++bit)
            rest = rest & 0x80000000 ? rest << 1 ^ 0x04C11DB7 : rest << 1;
    }
    return rest;
}

/* Adds what belongs to the section that is under way, and hands it on once it is whole.
   Returns how many bytes were taken. */
static size_t add_bytes(struct section_filter* filter, const uint8_t* bytes, size_t count)
{
    size_t taken = 0;
    while (taken < count) {
        if (filter->size >= SECTION_HEADER && filter->size == size_of_section(filter->bytes))
            break;
        if (filter->size == MOST_SECTION_BYTES) {
            filter->size = 0; /* longer than any section may be */
            return count;
        }
        filter->bytes[filter->size++] = bytes[taken++];
    }
    if (filter->size >= SECTION_HEADER && filter->size == size_of_section(filter->bytes)) {
        if (crc32_of(filter->bytes, filter->size) == 0)
            filter->handler(filter->context, filter->bytes, filter->size);
        filter->size = 0;
    }
    return taken;
}

/* Sections that begin one after another, until the rest of the packet is stuffing. */
static void add_sections(struct section_filter* filter, const uint8_t* bytes, size_t count)
{
    while (count > 0 && bytes[0] != STUFFING) {
        const size_t taken = add_bytes(filter, bytes, count);
        bytes += taken;
        count -= taken;
    }
}

/* Where the payload begins; PACKET_SIZE where there is none. */
static size_t payload_of(const uint8_t packet[PACKET_SIZE])
{
    const size_t begin = packet[3] & 0x20 ? (size_t)5 + packet[4] : 4;
    return packet[3] & 0x10 && begin < PACKET_SIZE ? begin : PACKET_SIZE;
}

void filter_packet(struct section_filter* filter, const uint8_t packet[PACKET_SIZE])
{
    const unsigned pid = (packet[1] & 0x1Fu) << 8 | packet[2];
    const int is_damaged = packet[1] & 0x80;
    const int is_scrambled = packet[3] & 0xC0;
    const int has_begin = packet[1] & 0x40;
    const unsigned counter = packet[3] & 0x0F;
    size_t place = payload_of(packet);
    size_t before = 0;
    if (packet[0] != 0x47 || pid != filter->pid || is_damaged || is_scrambled ||
        place == PACKET_SIZE)
        return;
    if (counter == filter->last_counter && filter->size > 0)
        return; /* a packet may come twice */
    if (filter->size > 0 && counter != (filter->last_counter + 1) % COUNTERS)
        filter->size = 0; /* one is missing: what was begun cannot be whole */
    filter->last_counter = counter;
    before = has_begin ? packet[place++] : PACKET_SIZE - place;
    if (before > PACKET_SIZE - place)
        return;
    if (filter->size > 0)
        add_bytes(filter, packet + place, before);
    if (has_begin) {
        filter->size = 0;
        add_sections(filter, packet + place + before, PACKET_SIZE - place - before);
    }
}
