/// The library with somebody who hears its decisions.
#ifndef VESTA_TESTS_STORIES_REASONS_FIXTURE_H
#define VESTA_TESTS_STORIES_REASONS_FIXTURE_H

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "signalling/ait.h"
#include "tests/support/heard_decisions.h"
#include "tests/support/library_test.h"

namespace vesta::test {

class ReasonsTest : public LibraryTest {
protected:
    /// Whether it was heard since the last call, word for word; forgets everything.
    void expectReason(HBBTV_Reason reason, const std::string& ids = "0.0", uint32_t wanted = 0,
                      uint32_t had = 0, const std::string& text = "")
    {
        EXPECT_THAT(heard.lines(),
                    ::testing::Contains(HeardDecisions::describe(reason, ids, wanted, had, text)));
        heard.decisions.clear();
    }

    void forgetReasons() { heard.decisions.clear(); }

    /// Sends a table and lets it take effect.
    void tune(const AITSection& section)
    {
        sendAIT(section);
        tickAll();
    }

    HeardDecisions heard;
};

}  // namespace vesta::test

#endif
