/// Whom decisions of the life cycle concern, and those that need several looks.
#ifndef VESTA_LIFECYCLE_DECISIONS_H
#define VESTA_LIFECYCLE_DECISIONS_H

#include "foundation/decision.h"

namespace VestaHbbTV {

class AIT;
class AITApplication;
class Application;
class Window;

#pragma GCC visibility push(hidden)

/// Whom a decision concerns; nobody where nobody listens, so that nothing is asked then.
/// @param entry of a table; may be null
DecisionAbout about(Window* window, const AITApplication* entry = nullptr);
/// @param application may be null
DecisionAbout about(Application* application);

/// Why no profile of an entry is the terminal's.
void explainProfiles(const DecisionAbout& about, const AITApplication& entry);
/// Why an entry has no transport that is available.
void explainTransports(const DecisionAbout& about, const AITApplication& entry);
/// Why a table has no AUTOSTART application that can be started.
void explainAutostart(Window* window, const AIT& table);

#pragma GCC visibility pop

}  // namespace VestaHbbTV

#endif
