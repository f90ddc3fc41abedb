#include "tests/support/xml_tables.h"

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"

using namespace VestaHbbTV;

namespace vesta::test {

void queueXMLTable(Window* window, const ref_ptr<AIT>& table)
{
    ConfigurationManager::getInstance()->getEventQueue()->add(new TAVOAITEvent(window, table));
}

}  // namespace vesta::test
