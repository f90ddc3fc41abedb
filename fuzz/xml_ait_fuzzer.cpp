/// Any bytes as an XML AIT. A first byte of 0 says that the document's URL is not known.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/text.h"
#include "kit/url_reference.h"
#include "kit/xml_ait_application.h"
#include "kit/xml_ait_document.h"

using namespace VestaHbbTV;

namespace {

void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

void checkFault(const XMLFault& fault)
{
    require(fault.getStatus() == HBBTV_KIT_XML_AIT_NOT_WELL_FORMED ||
                fault.getStatus() == HBBTV_KIT_XML_AIT_INVALID ||
                fault.getStatus() == HBBTV_KIT_XML_AIT_TOO_LARGE,
            "a fault is one of the document");
    require(!fault.getText().empty(), "a fault has a text");
    for (const char c : fault.getText())
        require(c >= ' ' && c <= '~', "the text is printable ASCII");
}

void checkTransport(const AITApplicationTransport& transport, const std::string& location)
{
    const std::string url = transport.getURL(location);
    if (transport.getProtocol() == AITApplicationTransport::HTTP)
        require(startsWith(url, "http://") || startsWith(url, "https://"), "a web address");
    else
        require(transport.getProtocol() == AITApplicationTransport::OBJECT_CAROUSEL &&
                    transport.isRemote() && startsWith(url, "dvb://"),
                "a carousel that is named");
}

void checkApplication(const AITApplication& application)
{
    const std::string& location = application.getApplicationLocation();
    require(application.getApplicationDescriptor() != nullptr, "there is a descriptor");
    require(application.getControlCode() >= 1 && application.getControlCode() <= 8, "a code");
    require(application.getNumTransports() >= 1 &&
                application.getNumTransports() <= mostXMLAITTransports,
            "there are transports, and not too many");
    require(application.getApplicationDomain()->getEntries().size() <= mostXMLAITBoundaries,
            "there are not too many boundaries");
    require(location.size() <= longestXMLAITText, "texts are not too long");
    for (const auto& transport : application.getTransports())
        checkTransport(*transport, location);
}

void checkTable(const AIT& table)
{
    require(table.isXMLBased() && table.isComplete(), "the table is one of XML");
    require(table.getNumApplications() >= 1 && table.getNumApplications() <= mostXMLAITApplications,
            "there are applications, and not too many");
    for (unsigned i = 0; i < table.getNumApplications(); ++i) {
        checkApplication(*table.getAITApplication(i));
        require(i == 0 || table.getAITApplication(i - 1)->getApplicationPriority() >=
                              table.getAITApplication(i)->getApplicationPriority(),
                "they are in order");
    }
}

void checkReference(std::string_view text)
{
    const auto absolute = resolveURL("http://a.example/b/c?d#e", text);
    require(absolute.has_value(), "with a base every reference has an address");
    const auto again = resolveURL("http://f.example/", *absolute);
    require(again == absolute, "an absolute address stays");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const bool isURLKnown = size == 0 || data[0] != 0;
    const size_t skipped = isURLKnown ? 0 : 1;
    const size_t length = size - skipped;
    const std::unique_ptr<char[]> block(new char[length]);
    if (length != 0)
        std::memcpy(block.get(), data + skipped, length);
    const std::string_view document(block.get(), length);

    XMLFault fault;
    const ref_ptr<AIT> table =
        readXMLAIT(document, isURLKnown ? "http://a.example/lists/ait.xml" : "", fault);
    require(fault.isSet() != static_cast<bool>(table), "there is a table or a fault");
    if (table)
        checkTable(*table);
    else
        checkFault(fault);
    checkReference(document.substr(0, 200));
    return 0;
}
