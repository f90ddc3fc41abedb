// The kit's front door, in C.

#include <cstring>
#include <string>
#include <string_view>

#include "foundation/configuration_manager.h"
#include "foundation/out_of_memory.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "kit/xml_ait_document.h"
#include "lifecycle/window_manager.h"
#include "vesta_hbbtv_kit.h"

namespace VestaHbbTV {

namespace {

HBBTV_KitXMLAITResult answer(HBBTV_KitXMLAITStatus status, std::string_view text = {},
                             const XMLPlace& place = {})
{
    HBBTV_KitXMLAITResult result = {};
    result.status = status;
    result.line = place.line;
    result.column = place.column;
    text.copy(result.text, sizeof(result.text) - 1);
    return result;
}

HBBTV_KitXMLAITResult loadXMLAIT(void* window, std::string_view document,
                                 std::string_view documentUrl)
{
    ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue();
    if (!queue)
        return answer(HBBTV_KIT_XML_AIT_NOT_INITIALISED, "the application manager does not run");
    Window* const known =
        WindowManager::instance ? WindowManager::instance->knownWindow(window) : nullptr;
    if (!known)
        return answer(HBBTV_KIT_XML_AIT_UNKNOWN_WINDOW, "no window has this handle");
    if (!document.data())
        return answer(HBBTV_KIT_XML_AIT_NO_DOCUMENT, "there is no document");
    XMLFault fault;
    const ref_ptr<AIT> table = readXMLAIT(document, documentUrl, fault);
    if (!table)
        return answer(fault.getStatus(), fault.getText(), fault.getPlace());
    queue->add(new TAVOAITEvent(known, table));
    return answer(HBBTV_KIT_XML_AIT_OK);
}

}  // namespace

}  // namespace VestaHbbTV

HBBTV_KitXMLAITResult hbbtv_kit_load_xml_ait(void* window, const void* bytes, size_t length,
                                             const char* documentUrl)
{
    using namespace VestaHbbTV;
    const std::string_view document(static_cast<const char*>(bytes), bytes ? length : 0);
    return guarded(answer(HBBTV_KIT_XML_AIT_OUT_OF_MEMORY, "out of memory"),
                   [=] { return loadXMLAIT(window, document, documentUrl ? documentUrl : ""); });
}
