/* A middleware in C: cuts the application information table of a service out of a transport stream
   and sends it to the application manager, from a thread of its own.

     middleware STREAM SERVICE

   It follows PAT and PMT to the table, and knows the original network id as a receiver with a list
   of channels does. In a product the kit's feed stands behind it: it takes damaged, changing and
   several tables, too. */

#define _POSIX_C_SOURCE 200809L /* recursive mutexes, in strict C11 */

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vesta_hbbtv_c.h>

#include "quiet_browser.h"
#include "sections.h"

enum {
    ORIGINAL_NETWORK = 0x20FA,
    PAT_PID = 0,
    NO_PID = 0x2000,
    PAT_TABLE = 0x00,
    PMT_TABLE = 0x02,
    AIT_TABLE = 0x74,
    LONG_HEADER = 8, /* of a section with a version: up to last_section_number */
    CRC_SIZE = 4,
    APPLICATION_SIGNALLING = 0x6F /* the descriptor, ETSI TS 102 809, 5.3.5.1 */
};

struct middleware {
    FILE* stream;
    unsigned service;
    unsigned transport_stream;
    struct section_filter pat, pmt, ait;
    unsigned long sections_sent; /* read once the thread has ended */
};

/* What the browser's thread waits for. The mutex is recursive: a listener that runs while it is
   held may send an event, too. */
static pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
static pthread_mutex_t mutex;
static int is_over; /* under the mutex */

static unsigned id_at(const uint8_t* bytes)
{
    return (unsigned)bytes[0] << 8 | bytes[1];
}

static unsigned length_at(const uint8_t* bytes)
{
    return id_at(bytes) & 0x0FFF;
}

static unsigned pid_at(const uint8_t* bytes)
{
    return id_at(bytes) & 0x1FFF;
}

/* Whether the section is of the table, has the header of a long one, and is in force by now. */
static int is_current(const uint8_t* section, size_t size, unsigned table)
{
    return size >= LONG_HEADER + CRC_SIZE && section[0] == table && section[5] & 1;
}

static void read_pat(void* context, const uint8_t* section, size_t size)
{
    struct middleware* const self = context;
    if (!is_current(section, size, PAT_TABLE))
        return;
    self->transport_stream = id_at(section + 3);
    for (size_t at = LONG_HEADER; at + 4 <= size - CRC_SIZE; at += 4) {
        if (id_at(section + at) == self->service)
            self->pmt.pid = pid_at(section + at + 2);
    }
}

static int has_descriptor(const uint8_t* loop, size_t size, unsigned tag)
{
    for (size_t at = 0; at + 2 <= size; at += 2 + (size_t)loop[at + 1]) {
        if (loop[at] == tag)
            return 1;
    }
    return 0;
}

static void read_pmt(void* context, const uint8_t* section, size_t size)
{
    struct middleware* const self = context;
    if (!is_current(section, size, PMT_TABLE) || id_at(section + 3) != self->service)
        return;
    if (size < 12 + CRC_SIZE)
        return;
    const size_t end = size - CRC_SIZE;
    size_t at = (size_t)12 + length_at(section + 10);
    while (at + 5 <= end) {
        const size_t loop = length_at(section + at + 3);
        if (loop > end - at - 5)
            return;
        if (has_descriptor(section + at + 5, loop, APPLICATION_SIGNALLING)) {
            self->ait.pid = pid_at(section + at + 1);
            return;
        }
        at += 5 + loop;
    }
}

/* What an event carries is malloc'ed, and the library frees it: the record as the event's type has
   it, and the whole section. */
static void read_ait(void* context, const uint8_t* section, size_t size)
{
    struct middleware* const self = context;
    HBBTV_AITSectionEventData* record;
    if (!is_current(section, size, AIT_TABLE))
        return;
    record = calloc(1, sizeof(*record));
    if (!record)
        return;
    record->section = malloc(size);
    if (!record->section) {
        free(record);
        return;
    }
    memcpy(record->section, section, size);
    record->original_network_id = ORIGINAL_NETWORK;
    record->transport_stream_id = (unsigned short)self->transport_stream;
    record->service_id = (unsigned short)self->service;
    vesta_hbbtv_c_send_event(E_AIT_SECTION, (HBBTV_EventData*)record);
    ++self->sections_sent;
}

static void* run_middleware(void* context)
{
    struct middleware* const self = context;
    uint8_t packet[PACKET_SIZE];
    vesta_hbbtv_c_send_event(E_CHANNEL_CHANGE, NULL);
    while (fread(packet, 1, sizeof(packet), self->stream) == sizeof(packet)) {
        filter_packet(&self->pat, packet);
        filter_packet(&self->pmt, packet);
        filter_packet(&self->ait, packet);
    }
    pthread_mutex_lock(&mutex);
    is_over = 1;
    pthread_cond_signal(&condition);
    pthread_mutex_unlock(&mutex);
    return NULL;
}

/* A listener has no pointer of its user's either: what it works on is found from here. */
static TAVO_VestaWindow browser_window = {"the only window"};

static HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_AIT_UPDATE && data) {
        printf("listener: a table of %d applications\n", data->ait.numApplications);
    } else if (type == HBBTV_NOTIFICATION_START_APPLICATION) {
        printf("listener: %lx.%x may start\n", data->application.organisationId,
               data->application.applicationId);
    } else if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        *data->window.tavoWindow = &browser_window;
        data->window.success = 1;
    }
    return HBBTV_STATUS_OK;
}

/* The browser's thread: until the stream is over and all of its events have run. */
static void run_browser(void)
{
    pthread_mutex_lock(&mutex);
    for (;;) {
        while (vesta_hbbtv_c_tick()) { /* the last look into the queue, with the mutex held */
        }
        if (is_over)
            break;
        pthread_cond_wait(&condition, &mutex);
    }
    pthread_mutex_unlock(&mutex);
}

static int play(struct middleware* middleware)
{
    pthread_t thread;
    vesta_hbbtv_c_set_sendevent_condition(&condition, &mutex);
    vesta_hbbtv_c_init(NULL);
    vesta_hbbtv_c_add_notification_listener(listen);
    vesta_hbbtv_c_set_broadcast_window(vesta_hbbtv_c_create_window());
    if (pthread_create(&thread, NULL, run_middleware, middleware) == 0) {
        run_browser();
        pthread_join(thread, NULL);
    }
    vesta_hbbtv_c_shutdown();
    vesta_hbbtv_c_set_sendevent_condition(NULL, NULL);
    printf("middleware: %lu sections of the service %u were sent\n", middleware->sections_sent,
           middleware->service);
    return middleware->sections_sent > 0 ? 0 : 1;
}

int main(int count, char** arguments)
{
    static struct middleware middleware;
    pthread_mutexattr_t recursive;
    int status;
    if (count != 3 || !(middleware.stream = fopen(arguments[1], "rb"))) {
        fprintf(stderr, "usage: middleware STREAM SERVICE\n");
        return 2;
    }
    middleware.service = (unsigned)strtoul(arguments[2], NULL, 0);
    middleware.pat = (struct section_filter){PAT_PID, read_pat, &middleware, 0, 0, {0}};
    middleware.pmt = (struct section_filter){NO_PID, read_pmt, &middleware, 0, 0, {0}};
    middleware.ait = (struct section_filter){NO_PID, read_ait, &middleware, 0, 0, {0}};
    pthread_mutexattr_init(&recursive);
    pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &recursive);
    status = play(&middleware);
    fclose(middleware.stream);
    return status;
}
