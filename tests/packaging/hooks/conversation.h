/// A conversation with the library in which it calls every platform hook that it ever calls.
#ifndef VESTA_TESTS_PACKAGING_HOOKS_CONVERSATION_H
#define VESTA_TESTS_PACKAGING_HOOKS_CONVERSATION_H

#include <string>
#include <vector>

#pragma GCC visibility push(default)

/// What the platform's answers led to.
struct Outcome {
    int keySets = 0;                 ///< the terminal's key sets, as scripts see them
    std::string page;                ///< what the browser loaded from the carousel
    std::vector<std::string> calls;  ///< of the browser's protocol functions
    bool sameCarousel = false;       ///< what dsmcc_same_carousel() left of true
};

/// Starts the library, tunes in, loads a page from the carousel, listens to stream events, changes
/// the channel and stops. The caller's program plays the browser (tests/support/fake_browser.cpp).
extern "C" void converse(Outcome* outcome);

/// The hooks of platform.cpp in the order of their calls.
extern "C" std::vector<std::string>* platformJournal();

#pragma GCC visibility pop

/// Whether the hooks of platform.cpp were called and their answers used; says what is wrong.
bool isPlatforms(const Outcome& outcome, const std::vector<std::string>& journal);

#endif
