/// The keys of a remote control by their names.
#ifndef VESTA_RECEIVER_CONSOLE_KEY_NAMES_H
#define VESTA_RECEIVER_CONSOLE_KEY_NAMES_H

#include <string>
#include <vector>

namespace receiver {

/// "RED", "OK", "5"... for a key code; a number for one without a name.
std::string keyName(int code);

/// All of them, each key once.
std::vector<std::string> keyNames();

/// @param name in capitals or not @return 0 for a name that is not known
int keyCode(const std::string& name);

}  // namespace receiver

#endif
