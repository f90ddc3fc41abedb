/* Cuts the sections of some PIDs out of a transport stream (ISO/IEC 13818-1, 2.4.3 and 2.4.4). */
#ifndef EXAMPLES_SECTIONS_H
#define EXAMPLES_SECTIONS_H

#include <stddef.h>
#include <stdint.h>

enum { PACKET_SIZE = 188, MOST_SECTION_BYTES = 4096 };

/* Called with each whole section whose CRC_32 is right; the bytes are valid for the call. */
typedef void (*section_handler)(void* context, const uint8_t* section, size_t size);

/* One PID: set `pid`, `handler` and `context`, the rest to 0. */
struct section_filter {
    unsigned pid;
    section_handler handler;
    void* context;
    size_t size; /* of what has come of a section; 0 where none has begun */
    unsigned last_counter;
    uint8_t bytes[MOST_SECTION_BYTES];
};

/* Takes a packet of any PID; one that is no packet, or of another PID, is passed over. */
void filter_packet(struct section_filter* filter, const uint8_t packet[PACKET_SIZE]);

#endif
