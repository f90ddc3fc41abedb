/// Lines of a record, for people.
#ifndef VESTA_REPLAY_TEXTS_H
#define VESTA_REPLAY_TEXTS_H

#include <string>

#include "replay/record.h"

namespace replay {

/// Members on one line; long values are shortened.
std::string shortText(const Json& members);

/// Likewise, with those members whole and marked that are not the same in the other.
std::string markedText(const Json& members, const Json& other);

/// "  12  out  ve_open_url {"page":"page:1",...}"
std::string lineText(const Line& line);

}  // namespace replay

#endif
