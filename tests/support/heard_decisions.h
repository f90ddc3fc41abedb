/// Hears what the library decides and why, while it lives.
#ifndef VESTA_TESTS_SUPPORT_HEARD_DECISIONS_H
#define VESTA_TESTS_SUPPORT_HEARD_DECISIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "vesta_hbbtv_diagnosis.h"

namespace vesta::test {

class HeardDecisions {
public:
    HeardDecisions() { vesta_hbbtv_set_decision_listener(hear, this); }
    ~HeardDecisions() { vesta_hbbtv_set_decision_listener(nullptr, nullptr); }
    HeardDecisions(const HeardDecisions&) = delete;
    HeardDecisions& operator=(const HeardDecisions&) = delete;

    struct Decision {
        int reason;
        int verdict;
        std::string ids;  ///< "1.2"; "0.0" for no application
        uint32_t wanted;
        uint32_t had;
        std::string text;
        void* window;
        void* scriptApplication;
    };

    /// As in describe(), without the window.
    std::vector<std::string> lines() const
    {
        std::vector<std::string> lines;
        for (const Decision& each : decisions)
            lines.push_back(describe(each.reason, each.ids, each.wanted, each.had, each.text));
        return lines;
    }

    /// "307 1.2 wanted 66561 had 66049 http://a.example/"
    static std::string describe(int reason, const std::string& ids = "0.0", uint32_t wanted = 0,
                                uint32_t had = 0, const std::string& text = "")
    {
        return std::to_string(reason) + " " + ids + " wanted " + std::to_string(wanted) + " had " +
               std::to_string(had) + " " + text;
    }

    std::vector<Decision> decisions;

private:
    static void hear(const HBBTV_Decision* decision, void* self)
    {
        static_cast<HeardDecisions*>(self)->decisions.push_back(
            {decision->reason, decision->verdict,
             std::to_string(decision->organisationId) + "." +
                 std::to_string(decision->applicationId),
             decision->wanted, decision->had, decision->text, decision->window,
             decision->scriptApplication});
    }
};

}  // namespace vesta::test

#endif
