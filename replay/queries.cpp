#include "replay/queries.h"

namespace replay {

namespace {

struct Parts {
    std::string_view before;  ///< with the '?'
    std::string_view query;
    std::string_view fragment;  ///< with the '#'
};

Parts partsOf(std::string_view url)
{
    const size_t mark = url.find('?');
    if (mark == std::string_view::npos)
        return {url, {}, {}};
    const size_t end = std::min(url.find('#', mark), url.size());
    return {url.substr(0, mark + 1), url.substr(mark + 1, end - mark - 1), url.substr(end)};
}

bool isNumber(std::string_view query)
{
    return query.size() > 1 && query.front() == '~' &&
           query.substr(1).find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

std::string Queries::written(std::string_view url, const std::string& expected)
{
    const Parts real = partsOf(url);
    const Parts known = partsOf(expected);
    if (!isNumber(known.query) || real.query.empty() || real.before != known.before ||
        real.fragment != known.fragment)
        return std::string(url);
    if (real.query == known.query)
        return expected;
    const auto [bound, isNew] = queries_.emplace(known.query, real.query);
    return bound->second == real.query ? expected : std::string(url);
}

std::string Queries::restored(std::string_view url) const
{
    const Parts parts = partsOf(url);
    const auto bound = queries_.find(std::string(parts.query));
    if (bound == queries_.end())
        return std::string(url);
    return std::string(parts.before) + bound->second + std::string(parts.fragment);
}

}  // namespace replay
