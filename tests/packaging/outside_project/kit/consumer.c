/* What a program in C does with the kit; C++ reads it as well. */

#include "consumer.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <vesta_hbbtv_kit.h>

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
