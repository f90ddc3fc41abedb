#include "replay/queries.h"

#include "recorder/boundary/url_query.h"

namespace replay {

using recorder::partsOf;
using recorder::UrlParts;

std::string Queries::written(std::string_view url, const std::string& expected)
{
    const UrlParts real = partsOf(url);
    const UrlParts known = partsOf(expected);
    if (!recorder::isNumberOfQuery(known.query) || real.query.empty() ||
        real.before != known.before || real.fragment != known.fragment)
        return std::string(url);
    if (real.query == known.query)
        return expected;
    const auto [bound, isNew] = queries_.emplace(known.query, real.query);
    return bound->second == real.query ? expected : std::string(url);
}

std::string Queries::restored(std::string_view url) const
{
    const UrlParts parts = partsOf(url);
    const auto bound = queries_.find(std::string(parts.query));
    if (bound == queries_.end())
        return std::string(url);
    return std::string(parts.before) + bound->second + std::string(parts.fragment);
}

}  // namespace replay
