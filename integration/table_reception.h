/// Sections of the tuned service's table, as they come in, and what becomes of the table.
#ifndef VESTA_INTEGRATION_TABLE_RECEPTION_H
#define VESTA_INTEGRATION_TABLE_RECEPTION_H

#include "vesta_hbbtv_appman.h"

namespace VestaHbbTV {

/// Adds a section to the table that the broadcast window collects, and puts the table in force when
/// it is complete. A record without a section that does not keep the application ends it.
void receiveSection(const HBBTV_AITSectionEventData& record);

/// The receiver tunes away: carousel and tables of the former service are void.
void leaveChannel();

}  // namespace VestaHbbTV

#endif
