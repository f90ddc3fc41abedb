#include "station/carousel/file_tree.h"

#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace station {

namespace {

namespace fs = std::filesystem;

Bytes readFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad())
        throw Unreadable(path.string() + ": cannot be read");
    return bytes;
}

bool isHidden(const fs::path& path)
{
    return path.filename().string().front() == '.';
}

/// @throws Unreadable
bool isFolder(const fs::path& path)
{
    std::error_code problem;
    if (fs::is_regular_file(path, problem))
        return false;
    const fs::file_type type = fs::symlink_status(path, problem).type();
    if (type != fs::file_type::directory)
        throw Unreadable(path.string() + ": is neither a file nor a folder");
    return true;
}

void readFolder(const fs::path& folder, const std::string& prefix,
                std::map<std::string, Bytes>& files)
{
    std::error_code problem;
    fs::directory_iterator entry(folder, problem);
    for (; !problem && entry != fs::directory_iterator(); entry.increment(problem)) {
        const fs::path& path = entry->path();
        const std::string name = prefix + path.filename().string();
        if (isHidden(path))
            continue;
        if (isFolder(path))
            readFolder(path, name + "/", files);
        else
            files[name] = readFile(path);
    }
    if (problem)
        throw Unreadable(folder.string() + ": " + problem.message());
}

}  // namespace

std::map<std::string, Bytes> readFiles(const std::filesystem::path& folder)
{
    std::map<std::string, Bytes> files;
    readFolder(folder, "", files);
    return files;
}

std::string contentTypeOf(const std::string& path)
{
    constexpr std::pair<const char*, const char*> types[] = {
        {".html", "application/vnd.hbbtv.xhtml+xml"},
        {".xhtml", "application/vnd.hbbtv.xhtml+xml"},
        {".css", "text/css"},
        {".js", "application/javascript"},
        {".json", "application/json"},
        {".xml", "text/xml"},
        {".txt", "text/plain"},
        {".png", "image/png"},
        {".jpg", "image/jpeg"},
        {".jpeg", "image/jpeg"},
        {".gif", "image/gif"},
        {".svg", "image/svg+xml"},
    };
    const std::string ending = fs::path(path).extension().string();
    for (const auto& [known, type] : types) {
        if (ending == known)
            return type;
    }
    return "";
}

}  // namespace station
