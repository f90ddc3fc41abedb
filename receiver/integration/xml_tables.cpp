#include "receiver/integration/xml_tables.h"

#include "vesta_hbbtv_appman.h"

#include "receiver/browser/browser_engine.h"
#include "receiver/console/event_log.h"
#include "receiver/text/mime_type.h"
#include "vesta_hbbtv_kit.h"

namespace receiver {

namespace {

const std::string tableType = "application/vnd.dvb.ait+xml";

/// @return what is wrong, for people; empty for success
std::string putInForce(TAVO_VestaWindow* window, const std::string& document,
                       const std::string& url)
{
    void* const ofLibrary = VestaHbbTV::vesta_hbbtv_get_window_identifier(window);
    const HBBTV_KitXMLAITResult result =
        hbbtv_kit_load_xml_ait(ofLibrary, document.data(), document.size(), url.c_str());
    if (result.status == HBBTV_KIT_XML_AIT_OK)
        return "";
    const std::string where = result.line == 0
                                  ? ""
                                  : "line " + std::to_string(result.line) + ", column " +
                                        std::to_string(result.column) + ": ";
    return where + result.text;
}

/// The document was loaded as an application, which has shown nothing and has nothing more to do:
/// it ends after its table has found an application to start.
void endDocument(const TAVO_VestaWindow& window)
{
    void* id = nullptr;
    native_AppManGetApplicationId(window.id, nullptr, &id);
    native_ApplicationDestroyApplication(id);
}

}  // namespace

bool isXMLTable(const std::string& url, const std::string& mimeType)
{
    return mimeType == tableType || mimeTypeOf(url) == tableType;
}

bool takeXMLTable(EventLog& log, TAVO_VestaWindow* window, const std::string& document,
                  const std::string& url)
{
    const std::string problem = putInForce(window, document, url);
    if (!problem.empty()) {
        log.report(Source::Browser, "load-failed", url + ": no XML AIT: " + problem,
                   {{"url", url}, {"status", nullptr}});
        return false;
    }
    log.report(Source::Browser, "xml-ait", url + ": an XML AIT for its window",
               {{"url", url}, {"window", window->id}, {"size", document.size()}});
    endDocument(*window);
    return true;
}

}  // namespace receiver
