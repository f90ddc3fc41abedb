/* What a program in C does with the kit; C++ reads it as well. */

#include "consumer.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <vesta_hbbtv_diagnosis.h>
#include <vesta_hbbtv_kit.h>
#include <vesta_hbbtv_kit_layout.h>

static const char document[] =
    "<ServiceDiscovery xmlns='urn:dvb:mhp:2009'"
    " xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'>"
    "<ApplicationDiscovery DomainName='outside.example'><ApplicationList><Application>"
    "<appName Language='eng'>Outside</appName>"
    "<applicationIdentifier><orgId>1</orgId><appId>2</appId></applicationIdentifier>"
    "<applicationDescriptor>"
    "<type><OtherApp>application/vnd.hbbtv.xhtml+xml</OtherApp></type>"
    "<controlCode>AUTOSTART</controlCode></applicationDescriptor>"
    "<applicationTransport xsi:type='HTTPTransportType'><URLBase>app/</URLBase>"
    "</applicationTransport><applicationLocation>index.html</applicationLocation>"
    "</Application></ApplicationList></ApplicationDiscovery></ServiceDiscovery>";

int load_document(void* window)
{
    const HBBTV_KitXMLAITResult result = hbbtv_kit_load_xml_ait(window, document, strlen(document),
                                                                "http://outside.example/ait.xml");
    if (result.status != HBBTV_KIT_XML_AIT_OK)
        printf("%u:%u: %s\n", result.line, result.column, result.text);
    return result.status;
}

int load_fault(void* window)
{
    const HBBTV_KitXMLAITResult result = hbbtv_kit_load_xml_ait(window, "\n<", 2, NULL);
    return result.status == HBBTV_KIT_XML_AIT_NOT_WELL_FORMED && result.line == 2 &&
           result.column == 1 && result.text[0] != '\0';
}

static void hear_decision(const HBBTV_Decision* decision, void* starts)
{
    printf("%u.%u: %s\n", (unsigned)decision->organisationId, (unsigned)decision->applicationId,
           vesta_hbbtv_reason_text(decision->reason));
    if (decision->reason == HBBTV_REASON_STARTED)
        ++*(int*)starts;
}

void hear_decisions(int* starts)
{
    vesta_hbbtv_set_decision_listener(hear_decision, starts);
}

static HBBTV_KitAITFeed* feed;
static uint32_t tuning;

static void hear(const HBBTV_KitFeedReport* report, void* context)
{
    (void)context;
    if (report->event == HBBTV_KIT_FEED_SECTION_REFUSED)
        printf("PID %u: fault %d at byte %u\n", report->pid, report->fault,
               (unsigned)report->offset);
}

static int make_feed(void)
{
    HBBTV_KitFeedOptions options;
    hbbtv_kit_feed_get_defaults(&options);
    options.carriedMajor = 1;  /* this terminal carries applications up to HbbTV 1.4.1 */
    options.carriedMinor = 4;
    options.carriedMicro = 1;
    options.listener = hear;
    feed = hbbtv_kit_feed_create(&options);
    return feed != NULL;
}

static void tuned(uint16_t network, uint16_t stream, uint16_t service)
{
    tuning = hbbtv_kit_feed_tune(feed, network, stream, service, NULL);
}

static void received(unsigned pid, const unsigned char* section, size_t size, uint64_t milliseconds)
{
    if (size > 0 && section[0] == 0x02)
        hbbtv_kit_feed_pmt(feed, tuning, section, size, milliseconds);
    else
        hbbtv_kit_feed_section(feed, tuning, pid, section, size, milliseconds);
}

uint64_t refused_sections(void)
{
    const unsigned char other[] = {0x42, 0xB0, 0x00};
    const unsigned char pmt[] = {0x02, 0xB0, 0x12, 0x00, 0x03, 0xC1, 0x00, 0x00, 0xE1, 0x00, 0xF0,
                                 0x00, 0x05, 0xE0, 0x64, 0xF0, 0x00, 0x26, 0xD0, 0x20, 0xF3};
    uint64_t refused = 0;
    if (!make_feed())
        return 0;
    tuned(1, 2, 3);
    received(100, pmt, sizeof(pmt), 0);
    received(100, other, sizeof(other), 0);
    refused = hbbtv_kit_feed_get_count(feed, HBBTV_KIT_SECTION_NOT_AIT);
    hbbtv_kit_feed_destroy(feed);
    return refused;
}
