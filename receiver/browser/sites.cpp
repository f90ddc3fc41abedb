#include "receiver/browser/sites.h"

#include <set>

#include "receiver/folder_place.h"
#include "receiver/text/url.h"

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
    path = withoutEscapes(withoutQuery(path));
    path.erase(0, path.find_first_not_of('/'));
    if (path.empty() || path.back() == '/')
        path += "index.html";
    return placeInFolder(site.folder, path);
}

/// "a, b": a long list is cut. Empty when there is nothing, or no such folder.
std::string folderNames(const fs::path& parent)
{
    const size_t most = 20;
    std::error_code problem;
    std::set<std::string> names;
    for (fs::directory_iterator at(parent, problem), end; !problem && at != end;
         at.increment(problem)) {
        std::error_code unknown;
        if (at->is_directory(unknown))
            names.insert(at->path().filename().string());
    }
    std::string list;
    size_t count = 0;
    for (const std::string& name : names) {
        if (++count > most)
            return list + " and more";
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

}  // namespace

std::string problemOf(const Site& site)
{
    std::error_code problem;
    const fs::path folder(site.folder);
    if (fs::is_directory(folder, problem))
        return "";
    if (fs::exists(folder, problem))
        return site.folder + ": is no folder";
    const fs::path parent = folder.has_parent_path() ? folder.parent_path() : fs::path(".");
    const std::string names = folderNames(parent);
    return site.folder + ": no such folder" +
           (names.empty() ? "" : "; in " + parent.string() + " there are " + names);
}

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
