/// A conversation with the library in which it calls every platform hook that it ever calls.
#ifndef VESTA_TESTS_PACKAGING_HOOKS_CONVERSATION_H
#define VESTA_TESTS_PACKAGING_HOOKS_CONVERSATION_H

#include <string>
#include <vector>

#pragma GCC visibility push(default)

/// What the platform's answers led to.
struct Outcome {
    int keySets = 0;            ///< the terminal's key sets, as scripts see them
    std::string mimeType;       ///< of the page that the browser loaded from the carousel
    std::string page;           ///< its bytes
    int status = 0;             ///< its final status
    bool sameCarousel = false;  ///< what dsmcc_same_carousel() left of true
};

/// Starts the library, tunes in, loads a page from the carousel, listens to stream events, changes
/// the channel and stops. The caller's program plays the browser of browser.cpp.
extern "C" void converse(Outcome* outcome);

/// What the browser of browser.cpp got, collected while converse() runs.
extern "C" Outcome* browserOutcome();

/// The hooks of platform.cpp in the order of their calls.
extern "C" std::vector<std::string>* platformJournal();

#pragma GCC visibility pop

/// Whether the hooks of platform.cpp were called and their answers used; says what is wrong.
bool isPlatforms(const Outcome& outcome, const std::vector<std::string>& journal);

#endif
