#include "inspector/check/web_address.h"

#include "foundation/text.h"
#include "foundation/url_prefixes.h"
#include "kit/url_reference.h"

namespace inspector {

namespace {

using VestaHbbTV::hasBlanks;
using VestaHbbTV::startsWith;
using VestaHbbTV::URLParts;

bool isOrigin(const URLParts& url)
{
    return url.path.empty() && url.query.empty() && url.fragment.empty();
}

bool staysOutOfTheHost(const std::string& location)
{
    return location.empty() || location.find_first_of("/?#") == 0;
}

}  // namespace

std::string problemOfWebBase(const std::string& base)
{
    if (!startsWith(base, VestaHbbTV::httpPrefix) && !startsWith(base, VestaHbbTV::httpsPrefix))
        return "neither http:// nor https://";
    if (URLParts(base).host().empty())
        return "no host";
    return hasBlanks(base) ? "a blank or control character" : "";
}

std::string problemOfJoint(const std::string& base, const std::string& location)
{
    const URLParts parts(location);
    if (!parts.scheme.empty() && parts.hasAuthority)
        return "an address of its own";
    if (hasBlanks(location))
        return "a blank or control character";
    if (isOrigin(URLParts(base)) && !staysOutOfTheHost(location))
        return "the path becomes part of the host";
    return "";
}

}  // namespace inspector
