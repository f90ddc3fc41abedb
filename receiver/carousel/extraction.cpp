#include "receiver/carousel/extraction.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "receiver/carousel/service_carousels.h"
#include "receiver/console/event_log.h"

namespace receiver {

namespace {

namespace fs = std::filesystem;

/// Where a file of the air goes; empty when its name leads elsewhere.
fs::path placeOf(const fs::path& folder, const std::string& name)
{
    const fs::path relative = fs::path(name).lexically_normal();
    if (name.find('\0') != std::string::npos || relative.empty() || relative.is_absolute() ||
        *relative.begin() == "..")
        return {};
    return folder / relative;
}

bool writeFile(const fs::path& place, const FileView& view)
{
    std::error_code problem;
    fs::create_directories(place.parent_path(), problem);
    std::ofstream file(place, std::ios::binary);
    file.write(reinterpret_cast<const char*>(view.data), static_cast<std::streamsize>(view.size));
    file.close();
    return !problem && !file.fail();
}

}  // namespace

bool extractFiles(const ServiceCarousels& carousels, const std::string& folder, EventLog& log)
{
    size_t written = 0;
    bool isComplete = true;
    for (const ServiceCarousels::Status& status : carousels.status()) {
        std::ostringstream tag;
        tag << std::hex << static_cast<unsigned>(status.componentTag);
        for (const CarouselFile& file : status.files) {
            const fs::path place = placeOf(fs::path(folder) / tag.str(), file.path);
            if (!place.empty() && writeFile(place, file.file)) {
                ++written;
                continue;
            }
            isComplete = false;
            log.report(Source::Receiver, "not-written", file.path + ": could not be written",
                       {{"path", file.path}});
        }
    }
    log.report(Source::Receiver, "extracted",
               withSeparators(written) + " files written to " + folder,
               {{"files", written}, {"folder", folder}});
    return isComplete;
}

}  // namespace receiver
