#include "recorder/left_out_queries.h"

#include <algorithm>

#include "recorder/hash.h"

namespace recorder {

namespace {

bool isNumbered(std::string_view query)
{
    return query.size() > 1 && query[0] == '~' &&
           std::all_of(query.begin() + 1, query.end(),
                       [](char character) { return character >= '0' && character <= '9'; });
}

}  // namespace

std::string LeftOutQueries::without(std::string_view url)
{
    const size_t mark = url.find('?');
    const size_t fragment = std::min(url.find('#'), url.size());
    if (mark >= fragment)
        return std::string(url);
    const std::string_view query = url.substr(mark + 1, fragment - mark - 1);
    if (query.empty() || isNumbered(query))
        return std::string(url);
    const uint64_t number = numberOf(hashOf(query.data(), query.size()));
    return std::string(url.substr(0, mark + 1)) + '~' + std::to_string(number) +
           std::string(url.substr(fragment));
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
