/// Which group of keys a key belongs to.
#ifndef VESTA_INTEGRATION_KEY_GROUPS_H
#define VESTA_INTEGRATION_KEY_GROUPS_H

#include "vesta_browser.h"

#pragma GCC visibility push(hidden)

namespace VestaHbbTV {

/// The group that admits a key, as KeySet has it; 0 for a key that never reaches an application.
int keyGroupOf(int key);

}  // namespace VestaHbbTV

#pragma GCC visibility pop

#endif
