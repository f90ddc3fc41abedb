/// A browser that opens pages and shows none, for examples that are about something else.
#ifndef EXAMPLES_QUIET_BROWSER_H
#define EXAMPLES_QUIET_BROWSER_H

#include <vesta_browser.h>

/// The library never looks into it: a window is whatever the browser has.
struct TAVO_VestaWindow {
    const char* name;
};

#endif
