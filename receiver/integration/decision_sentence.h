/// A decision of the application manager's in words.
#ifndef VESTA_RECEIVER_INTEGRATION_DECISION_SENTENCE_H
#define VESTA_RECEIVER_INTEGRATION_DECISION_SENTENCE_H

#include <optional>
#include <string>

#include "vesta_hbbtv_diagnosis.h"

namespace receiver {

/// "start" for HBBTV_DECISION_START; "decision" for one that is not known.
const char* subjectName(int subject);

/// The reverse.
std::optional<int> subjectNamed(const std::string& name);

/// All of them, for people: "section, table, ..."
std::string subjectNames();

/// The application's ids in hexadecimal, "a.1"; nothing for a decision about none.
std::optional<std::string> idsOf(const HBBTV_Decision& decision);

/// "no, start of a.1: There is no URL to start."
/// @param reason what vesta_hbbtv_reason_text() says of it
std::string sentenceOf(const HBBTV_Decision& decision, const char* reason);

}  // namespace receiver

#endif
