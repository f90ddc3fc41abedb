/// A browser with one window that only remembers which pages it was to open.
#ifndef VESTA_TESTS_SHIPPED_SMALL_BROWSER_H
#define VESTA_TESTS_SHIPPED_SMALL_BROWSER_H

#include <string>
#include <vector>

#include "vesta_browser.h"

namespace vesta::test {

struct SmallBrowser {
    /// Handles are addresses that nobody follows.
    static TAVO_Vesta* handle();
    static TAVO_VestaWindow* window();

    static std::vector<std::string> openedPages;
    /// Whether it does; remembering needs memory.
    static bool remembersPages;
};

}  // namespace vesta::test

#endif
