#include "integration/table_reception.h"

#include "foundation/at_exit.h"
#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

namespace VestaHbbTV {

namespace {

const char module[] = "ExternalEvent";

/// The service's table went away: its application goes with it.
void stopBroadcastRelatedApplication(Window& window)
{
    Application* const running = window.getRunningApplication();
    if (!running || !running->isBroadcastRelated())
        return;
    explain(HBBTV_REASON_END_TABLE_GONE, about(running));
    window.terminateRunningApplication(true);
}

/// Announces a complete table and puts it in force. Where it gives way to a newer one, the log has
/// it only if it was reported to the platform as well.
void applyTable(Window& window, const ref_ptr<AIT>& table)
{
    window.setAssemblyAIT(nullptr);
    const Session session;
    const unsigned long tables = window.getTablesSet();
    if (NotificationManager::hasListeners())
        NotificationManager::broadcastIfAny(new AITUpdateNotification(&window, table.get()));
    if (session.isOver())
        return;  // a listener shut the library down, and the platform has stopped
    if (window.getTablesSet() != tables) {
        // a listener put a newer table in force, or changed the channel
        explain(HBBTV_REASON_TABLE_SUPERSEDED, about(&window), 0, table->getVersion());
        return;
    }
    hbbtv_ait_completed(table->getVersion());
    if (!window.isReleased() && window.getTablesSet() == tables) {
        explain(HBBTV_REASON_TABLE_IN_FORCE, about(&window), 0, table->getVersion());
        window.setAIT(table);
        window.activateAIT();
    }
    table->printAIT();  // also one that gave way in the meantime: the platform has it as complete
}

/// A section for which there is no memory must not keep its table, which counts it as received: the
/// next one begins the table anew.
bool parse(Window& window, AIT& table, const unsigned char* section)
{
    const AtFailure giveUp([&window] { window.setAssemblyAIT(nullptr); });
    return table.parse(section);
}

void takeSection(Window& window, const HBBTV_AITSectionEventData& record)
{
    const ref_ptr<AIT> current(window.getAIT());
    if (!window.getAssemblyAIT())
        window.setAssemblyAIT(new AIT(record.original_network_id, record.transport_stream_id,
                                      record.service_id, record.channelHandle));
    const ref_ptr<AIT> table(window.getAssemblyAIT());
    if (!parse(window, *table, record.section))
        return;
    // Deliberate: a table of the version in force is dropped at its first section.
    if (current && !current->isStale() && window.isTableActedOn() &&
        current->getVersion() == table->getVersion()) {
        explain(HBBTV_REASON_SECTION_VERSION_IN_FORCE, about(&window), 0, table->getVersion());
        window.setAssemblyAIT(nullptr);
        return;
    }
    if (table->isComplete())
        applyTable(window, table);
}

}  // namespace

void receiveSection(const HBBTV_AITSectionEventData& record)
{
    log(DEBUG, module, "Retrieving AIT...");
    Window* const window = WindowManager::getInstance()->getBroadcastWindow();
    if (!window)
        return explain(HBBTV_REASON_SECTION_NO_BROADCAST_WINDOW);
    if (!NotificationManager::instance)
        return explain(HBBTV_REASON_SECTION_NOT_RUNNING);
    const Window::Hold hold(window);
    if (record.section || record.keepApplication != 0)
        return takeSection(*window, record);
    explain(HBBTV_REASON_TABLE_GONE, about(window));
    stopBroadcastRelatedApplication(*window);
}

void leaveChannel()
{
    const Session session;
    dsmcc_clear_cache();
    if (session.isOver())
        return;  // the platform shut the library down in return
    hbbtv_ait_invalidate();
    if (session.isOver())
        return;
    if (Window* const window = WindowManager::getInstance()->getBroadcastWindow()) {
        explain(HBBTV_REASON_TABLE_VOID, about(window));
        window->setAIT(ref_ptr<AIT>());
        window->setAssemblyAIT(nullptr);
    }
}

}  // namespace VestaHbbTV
