/// Tells whoever listens what was decided and why.
#ifndef VESTA_FOUNDATION_DECISION_H
#define VESTA_FOUNDATION_DECISION_H

#include <cstdint>

#include "vesta_hbbtv_diagnosis.h"

#pragma GCC visibility push(hidden)

namespace VestaHbbTV {

/// Whom a decision concerns; nobody in particular where nothing is set.
struct DecisionAbout {
    void* window = nullptr;
    uint32_t organisationId = 0;
    uint32_t applicationId = 0;
    void* scriptApplication = nullptr;
};

/// Whether anybody listens: to be asked first where a decision costs more to describe than to make.
extern bool areDecisionsHeard;

void report(HBBTV_Reason reason, const DecisionAbout& about, uint32_t wanted, uint32_t had,
            const char* text);

/// @param text borrowed for the call
inline void explain(HBBTV_Reason reason, const DecisionAbout& about = {}, uint32_t wanted = 0,
                    uint32_t had = 0, const char* text = "")
{
    if (areDecisionsHeard)
        report(reason, about, wanted, had, text);
}

}  // namespace VestaHbbTV

#pragma GCC visibility pop

#endif
