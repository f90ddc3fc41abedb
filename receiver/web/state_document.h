/// What stands how, for whoever looks at the receiver from outside.
#ifndef VESTA_RECEIVER_WEB_STATE_DOCUMENT_H
#define VESTA_RECEIVER_WEB_STATE_DOCUMENT_H

#include <nlohmann/json.hpp>
#include <string>

namespace receiver {

class Session;
struct PageSource;

/// Services, windows, applications, the table with what speaks against each start, carousels, what
/// is waited for, the screen, and the switches; docs/receiver.md lists the fields. Browser thread.
nlohmann::ordered_json stateOf(Session& session);

/// What the page of a window is made of.
nlohmann::ordered_json jsonOf(long window, const PageSource& source);

/// In a line, with U+FFFD for what is no UTF-8, and with escapes for what a terminal would obey.
std::string textOf(const nlohmann::ordered_json& document);

}  // namespace receiver

#endif
