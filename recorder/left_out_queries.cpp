#include "recorder/left_out_queries.h"

#include "recorder/boundary/hash.h"

namespace recorder {

std::string LeftOutQueries::without(std::string_view text, PartsOf partsOf)
{
    std::string rest;
    for (const UrlPart& part : partsOf(text)) {
        if (part.isPrivate && !isNumberOfPart(part.text))
            rest += '~' + std::to_string(numberOf(hashOf(part.text.data(), part.text.size())));
        else
            rest += part.text;
    }
    return rest;
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
