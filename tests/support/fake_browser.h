/// A browser that loads nothing: it writes every call to the journal and answers as it is told.
#ifndef VESTA_TESTS_SUPPORT_FAKE_BROWSER_H
#define VESTA_TESTS_SUPPORT_FAKE_BROWSER_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "vesta_browser.h"

namespace vesta::test {

/// The one browser of a test program; reset() between tests.
class FakeBrowser {
public:
    static FakeBrowser& instance();

    void reset();

    /// The browser's handle.
    TAVO_Vesta* handle();

    /// The window number `id` (1 to 63), called "w<id>" in the journal. The handle is an address
    /// that nobody may follow.
    TAVO_VestaWindow* window(long id);

    /// "w3", "null", or "?" for a handle that is not this browser's.
    std::string nameOf(TAVO_VestaWindow* window);
    long idOf(TAVO_VestaWindow* window);

    /// What each function answers with; 0 is success. By the function's name.
    std::map<std::string, int> results;

    /// What ve_get_loading_url() gives; null when empty.
    std::string loadingURL;

    /// Turns a base and a URL into an absolute one; unset: URLs with "://" stay, others are
    /// appended to the base's directory.
    std::function<std::string(const std::string& base, const std::string& url)> resolve;

    /// Whether ve_resolve_relative_url() leaves its result null.
    bool resolveToNull = false;

    /// Called inside the function of that name, after it was written to the journal (those that
    /// look up windows are not written there).
    std::map<std::string, std::function<void()>> whileIn;

    /// What was written to each protocol load, and the sizes of the writes.
    std::map<void*, std::string> written;
    std::map<void*, std::vector<unsigned int>> writeSizes;

    /// The loads that ve_protocol_*() named, one entry a call.
    std::vector<void*> protocolIds;

    /// The browser that the latest function with such a parameter was called for.
    TAVO_Vesta* askedBrowser = nullptr;

    /// Keys delivered with tavo_keyboard_evt(): "down 403", "up 403".
    std::vector<std::string> keys;
    const TAVO_KeyboardEvent* lastKeyEvent = nullptr;

    /// Whether ve_resolve_relative_url() is written to the journal; off, since most starts ask it.
    bool journalResolving = false;

    /// Whether anything is written to the journal or kept. Off, the functions take no memory,
    /// unless they are told what to do or have a URL to join (benchmarks, fuzzers, and where memory
    /// runs out).
    bool journalling = true;

    /// Where the bytes of a write go while nothing is kept; unset: nowhere.
    std::function<void(const char* bytes, unsigned int length)> sink;

    // The functions' bodies.
    template <typename... Parts>
    int call(const char* function, const Parts&... parts);
    template <typename Part>
    int callForLoad(const char* function, void* id, const Part& part);
    int answer(const char* function, int usually);
    std::string resolved;
};

}  // namespace vesta::test

#endif
