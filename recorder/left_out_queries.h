/// URLs without their queries, for records that others may read.
#ifndef VESTA_RECORDER_LEFT_OUT_QUERIES_H
#define VESTA_RECORDER_LEFT_OUT_QUERIES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace recorder {

/// Puts a number in the place of each query, so that equal ones can still be seen to be equal. The
/// queries themselves are not kept, but their hashes; after 65536 of them the numbers go on with
/// none of the former ones known.
class LeftOutQueries {
public:
    static constexpr size_t known = 65536;

    /// "http://a.example/?~1#top" for "http://a.example/?user=me#top". What has such a number in
    /// the place of its query, or no query, stays as it is.
    std::string without(std::string_view url);

private:
    uint64_t numberOf(const std::string& hash);

    std::unordered_map<std::string, uint64_t> numbers_;
    uint64_t last_ = 0;
};

}  // namespace recorder

#endif
