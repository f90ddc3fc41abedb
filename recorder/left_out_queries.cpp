#include "recorder/left_out_queries.h"

#include "recorder/boundary/hash.h"
#include "recorder/boundary/url_query.h"

namespace recorder {

std::string LeftOutQueries::without(std::string_view url)
{
    const auto [before, query, fragment] = partsOf(url);
    if (query.empty() || isNumberOfQuery(query))
        return std::string(url);
    const uint64_t number = numberOf(hashOf(query.data(), query.size()));
    return std::string(before) + '~' + std::to_string(number) + std::string(fragment);
}

uint64_t LeftOutQueries::numberOf(const std::string& hash)
{
    const auto found = numbers_.find(hash);
    if (found != numbers_.end())
        return found->second;
    if (numbers_.size() == known)
        numbers_.clear();
    return numbers_[hash] = ++last_;
}

}  // namespace recorder
