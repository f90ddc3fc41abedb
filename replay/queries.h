/// The parts of URLs that were left out, where a record has numbers for them: "?~1".
#ifndef VESTA_REPLAY_QUERIES_H
#define VESTA_REPLAY_QUERIES_H

#include <string>
#include <string_view>
#include <unordered_map>

#include "recorder/boundary/url_parts.h"

namespace replay {

/// A number stands for the first real part (a query, a fragment, a name with its password) that is
/// met where the record has it. Until then, and where nothing but the record has it, it is its own.
class Queries {
public:
    /// A text as the record would have it. @param expected what the record has in this place
    /// @param partsOf how both are to be read
    std::string written(std::string_view text, std::string_view expected,
                        recorder::PartsOf partsOf);

    /// A text of the record as the library is to get it.
    std::string restored(std::string_view text, recorder::PartsOf partsOf) const;

private:
    std::unordered_map<std::string, std::string> parts_;  ///< by "~1"
};

}  // namespace replay

#endif
