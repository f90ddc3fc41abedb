#include "replay/queries.h"

#include <algorithm>
#include <vector>

namespace replay {

using recorder::isNumberOfPart;
using recorder::PartsOf;
using recorder::UrlPart;

namespace {

/// Whether they differ at most in what a number of the record may stand for.
bool mayBeTheSame(const UrlPart& real, const UrlPart& known)
{
    return real.isPrivate == known.isPrivate &&
           (real.text == known.text || (known.isPrivate && isNumberOfPart(known.text)));
}

}  // namespace

std::string Queries::written(std::string_view text, std::string_view expected, PartsOf partsOf)
{
    const std::vector<UrlPart> real = partsOf(text);
    const std::vector<UrlPart> known = partsOf(expected);
    if (!std::equal(real.begin(), real.end(), known.begin(), known.end(), mayBeTheSame))
        return std::string(text);
    for (size_t place = 0; place < real.size(); ++place) {
        if (real[place].text == known[place].text)
            continue;
        const auto [bound, isNew] = parts_.emplace(known[place].text, real[place].text);
        if (bound->second != real[place].text)
            return std::string(text);
    }
    return std::string(expected);
}

std::string Queries::restored(std::string_view text, PartsOf partsOf) const
{
    std::string whole;
    for (const UrlPart& part : partsOf(text)) {
        const auto bound = part.isPrivate ? parts_.find(std::string(part.text)) : parts_.end();
        whole += bound == parts_.end() ? part.text : bound->second;
    }
    return whole;
}

}  // namespace replay
