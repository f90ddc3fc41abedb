/// What stands behind the '?' of URLs, where a record has numbers for it: "?~1".
#ifndef VESTA_REPLAY_QUERIES_H
#define VESTA_REPLAY_QUERIES_H

#include <string>
#include <string_view>
#include <unordered_map>

namespace replay {

/// A number stands for the first real query that is met where the record has it. Until then, and
/// where nothing but the record has it, it is its own query.
class Queries {
public:
    /// A URL as the record would have it. @param expected what the record has in this place
    std::string written(std::string_view url, const std::string& expected);

    /// A URL of the record as the library is to get it.
    std::string restored(std::string_view url) const;

private:
    std::unordered_map<std::string, std::string> queries_;  ///< by "~1"
};

}  // namespace replay

#endif
