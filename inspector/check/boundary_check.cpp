#include "inspector/check/boundary_check.h"

#include "foundation/text.h"
#include "foundation/url_prefixes.h"

namespace inspector {

namespace {

using VestaHbbTV::absoluteDVBPrefix;
using VestaHbbTV::ApplicationDomain;
using VestaHbbTV::httpPrefix;
using VestaHbbTV::httpsPrefix;
using VestaHbbTV::startsWith;

/// Pages that have nothing but their scheme in common: what admits both of them admits all.
struct Strangers {
    const char* what;
    const char* one;
    const char* other;
};
constexpr Strangers strangers[] = {
    {"every http: page", "http://a.example/", "http://9.example/"},
    {"every https: page", "https://a.example/", "https://9.example/"},
    {"every carousel", "dvb://a.1.1.1/", "dvb://9.1.1.1/"},
};

bool isWebPage(const std::string& url)
{
    return startsWith(url, httpPrefix) || startsWith(url, httpsPrefix);
}

bool isOrigin(const std::string& extension)
{
    return isWebPage(extension) || startsWith(extension, absoluteDVBPrefix);
}

/// @return empty where an entry admits only pages that it names
std::string whatItOpens(const std::string& entry)
{
    ApplicationDomain alone;
    alone.addBoundaryExtension(entry);
    std::string opened;
    for (const Strangers& pages : strangers) {
        if (alone.isWithinBoundaries(pages.one) && alone.isWithinBoundaries(pages.other))
            opened.append(opened.empty() ? "" : ", ").append(pages.what);
    }
    return opened;
}

}  // namespace

BoundaryCheck::BoundaryCheck(const std::vector<std::string>& pages)
{
    for (const std::string& page : pages) {
        started_.push_back({page, {}});
        started_.back().domain.addBoundaryExtension(page);
    }
}

void BoundaryCheck::add(const std::string& extension, const Report& report)
{
    const std::string quoted = "\"" + extension + "\"";
    if (!table_.addBoundaryExtension(extension))
        return report("boundary-several-hosts", quoted);
    const std::string entry = table_.getEntries().back();
    const bool counts = extendDomains(extension, entry, report) || started_.empty();
    const std::string opened = counts ? whatItOpens(entry) : "";
    if (!opened.empty())
        report("boundary-opens-everything", quoted + ": " + opened);
    else if (!isOrigin(extension))
        report("boundary-not-an-origin", quoted);
}

/// @param entry what a domain keeps of the extension @return whether any application has it
bool BoundaryCheck::extendDomains(const std::string& extension, const std::string& entry,
                                  const Report& report)
{
    bool counts = false;
    for (Started& application : started_) {
        if (application.domain.addBoundaryExtension(entry))
            counts = true;
        else if (isOrigin(extension))
            report("boundary-foreign-host",
                   "\"" + extension + "\", the page is " + application.page);
    }
    return counts;
}

void BoundaryCheck::finish(const Report& report) const
{
    if (table_.getEntries().empty())
        return;
    for (const Started& application : started_) {
        if (isWebPage(application.page) && !table_.isWithinBoundaries(application.page))
            report("boundary-page-outside", application.page);
    }
}

}  // namespace inspector
