#include "receiver/browser/sites.h"

#include "receiver/browser/page.h"
#include "receiver/folder_place.h"

namespace receiver {

namespace {

namespace fs = std::filesystem;

/// "http://a.example" answers for "http://a.example/x", not for "http://a.example.org/".
bool answersFor(const Site& site, const std::string& url)
{
    if (url.compare(0, site.prefix.size(), site.prefix) != 0)
        return false;
    const bool isWhole = url.size() == site.prefix.size() || site.prefix.back() == '/';
    return isWhole || std::string("/?#").find(url[site.prefix.size()]) != std::string::npos;
}

fs::path fileOf(const Site& site, const std::string& url)
{
    std::string path = url.substr(site.prefix.size());
    path = withoutEscapes(path.substr(0, path.find_first_of("?#")));
    path.erase(0, path.find_first_not_of('/'));
    if (path.empty() || path.back() == '/')
        path += "index.html";
    return placeInFolder(site.folder, path);
}

}  // namespace

std::optional<fs::path> fileOfURL(const std::vector<Site>& sites, const std::string& url)
{
    const Site* best = nullptr;
    for (const Site& site : sites) {
        if (answersFor(site, url) && (!best || site.prefix.size() > best->prefix.size()))
            best = &site;
    }
    return best ? std::optional<fs::path>(fileOf(*best, url)) : std::nullopt;
}

}  // namespace receiver
