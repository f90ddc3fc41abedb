#include "receiver/carousel/extraction.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "receiver/carousel/service_carousels.h"
#include "receiver/console/event_log.h"
#include "receiver/folder_place.h"
#include "receiver/text/printable.h"
#include "security/sha256.h"

namespace receiver {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

// Of what is missing or bound twice so many are named; the index has them all.
const size_t mostNamed = 20;

bool writeFile(const fs::path& place, const char* bytes, size_t size)
{
    std::error_code problem;
    fs::create_directories(place.parent_path(), problem);
    std::ofstream file(place, std::ios::binary);
    file.write(bytes, static_cast<std::streamsize>(size));
    file.close();
    return !problem && !file.fail();
}

std::string sha256Of(const FileView& file)
{
    SHA256 hasher;
    hasher.input(reinterpret_cast<const char*>(file.data), static_cast<unsigned>(file.size));
    return hasher.getResultString();
}

template <typename Number>
Json numberOrNull(const std::optional<Number>& number)
{
    return number ? Json(*number) : Json(nullptr);
}

/// The JSON, indented, with escapes for what a terminal would obey in names.
std::string pageOf(const Json& json)
{
    // Names of the air need not be UTF-8.
    std::istringstream lines(json.dump(2, ' ', false, Json::error_handler_t::replace));
    std::string page;
    for (std::string line; std::getline(lines, line);)
        page += printableJson(line) + "\n";
    return page;
}

class Extraction {
public:
    Extraction(const std::string& folder, EventLog& log) : folder_(folder), log_(log) {}

    void add(const ServiceCarousels::Status& carousel);
    bool finish();

private:
    void write(const CarouselFile& file);
    void note(const MissingFile& file);
    void sayWhatIsNotWhole(const ServiceCarousels::Status& carousel);
    void notWritten(const std::string& path);

    const std::string folder_;
    EventLog& log_;
    std::string tag_;  // of the carousel, as its folder is called
    Json index_ = Json::array();
    size_t written_ = 0;
    bool isComplete_ = true;
};

void Extraction::add(const ServiceCarousels::Status& carousel)
{
    std::ostringstream tag;
    tag << std::hex << static_cast<unsigned>(carousel.componentTag);
    tag_ = tag.str();
    for (const CarouselFile& file : carousel.listing.files)
        write(file);
    for (const MissingFile& file : carousel.listing.missing)
        note(file);
    sayWhatIsNotWhole(carousel);
}

void Extraction::write(const CarouselFile& file)
{
    const fs::path place = placeInFolder(fs::path(folder_) / tag_, file.path);
    if (place.empty() ||
        !writeFile(place, reinterpret_cast<const char*>(file.file.data), file.file.size)) {
        notWritten(file.path);
        return note({file.path, "it could not be written", file.moduleId, file.moduleVersion});
    }
    ++written_;
    index_.push_back({{"path", tag_ + "/" + file.path},
                      {"size", file.file.size},
                      {"sha256", sha256Of(file.file)},
                      {"module", file.moduleId},
                      {"version", file.moduleVersion},
                      {"complete", true}});
}

void Extraction::note(const MissingFile& file)
{
    index_.push_back({{"path", tag_ + "/" + file.path},
                      {"size", nullptr},
                      {"sha256", nullptr},
                      {"module", numberOrNull(file.moduleId)},
                      {"version", numberOrNull(file.moduleVersion)},
                      {"complete", false},
                      {"reason", file.reason}});
}

void Extraction::sayWhatIsNotWhole(const ServiceCarousels::Status& carousel)
{
    const std::string name = "carousel 0x" + tag_ + ": ";
    const EventLog::Details details = {{"component_tag", carousel.componentTag}};
    const auto say = [&](const char* event, const std::string& text) {
        log_.report(Source::Receiver, event, name + text, details);
    };
    const CarouselListing& listing = carousel.listing;
    const CarouselProgress& progress = carousel.progress;
    if (!carousel.hasGateway)
        say("incomplete", "its gateway has not come");
    if (progress.modulesComplete < progress.modulesKnown)
        say("incomplete", std::to_string(progress.modulesComplete) + " of " +
                              std::to_string(progress.modulesKnown) + " modules are complete, " +
                              std::to_string(progress.modulesRefused) + " were refused");
    for (size_t index = 0; index < listing.missing.size() && index < mostNamed; ++index)
        say("incomplete",
            listing.missing[index].path + " is not whole: " + listing.missing[index].reason);
    if (listing.missing.size() > mostNamed)
        say("incomplete", withSeparators(listing.missing.size() - mostNamed) +
                              " more are not whole, index.json names them");
    if (progress.blocksDropped > 0)
        say("cut", withSeparators(progress.blocksDropped) +
                       " blocks that nothing had announced did not fit into the memory");
    if (listing.leftOut > 0)
        say("cut", withSeparators(listing.leftOut) +
                       " names are left out: too many, too long or too deep");
    for (size_t index = 0; index < listing.boundTwice.size() && index < mostNamed; ++index)
        say("bound-twice",
            listing.boundTwice[index] + " is a directory that is written under another name");
    if (listing.boundTwice.size() > mostNamed)
        say("bound-twice",
            withSeparators(listing.boundTwice.size() - mostNamed) + " more are bound twice");
}

void Extraction::notWritten(const std::string& path)
{
    isComplete_ = false;
    log_.report(Source::Receiver, "not-written", path + ": could not be written", {{"path", path}});
}

bool Extraction::finish()
{
    const std::string name = "index.json";
    const std::string text = pageOf(index_);
    if (!writeFile(fs::path(folder_) / name, text.data(), text.size()))
        notWritten(name);
    log_.report(Source::Receiver, "extracted",
                withSeparators(written_) + " files written to " + folder_,
                {{"files", written_}, {"folder", folder_}});
    return isComplete_;
}

}  // namespace

bool extractFiles(const ServiceCarousels& carousels, const std::string& folder, EventLog& log)
{
    Extraction extraction(folder, log);
    for (const ServiceCarousels::Status& status : carousels.status())
        extraction.add(status);
    for (const uint16_t pid : carousels.pidsWithoutCarousel())
        log.report(Source::Receiver, "incomplete",
                   "PID " + std::to_string(pid) + ": no carousel began there (no gateway came)");
    if (const size_t dropped = carousels.sectionsDropped(); dropped > 0)
        log.report(Source::Receiver, "cut",
                   withSeparators(dropped) +
                       " sections of streams without a carousel did not fit into the memory");
    return extraction.finish();
}

}  // namespace receiver
