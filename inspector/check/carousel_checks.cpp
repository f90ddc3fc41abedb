// Whether carousels come whole, and lead where their directories say.
#include <algorithm>
#include <set>

#include "inspector/check/checks.h"

namespace inspector {

namespace {

using receiver::CarouselModule;
using receiver::CarouselModuleStatus;
using BlockTally = CarouselSurvey::BlockTally;
using Modules = std::vector<CarouselModuleStatus>;

constexpr size_t mostFilesNamed = 20;

/// No standard says how often DSI and DIIs come; this is longer than any carousel is started with.
constexpr uint64_t untilBeginningMs = 10'000;

/// What did not come in so many rounds of a carousel does not come. The first one counted may have
/// begun in the middle.
constexpr uint64_t roundsThatCount = 2;

std::string nameOf(const CarouselModuleStatus& module)
{
    return "module " + std::to_string(module.announcement.moduleId) + " version " +
           std::to_string(module.announcement.version);
}

std::string blocksOf(const CarouselModuleStatus& module)
{
    return std::to_string(module.blocksReceived) + " of " + counted(module.blocksNeeded, "block");
}

void checkModuleState(const CarouselModuleStatus& module, const Place& place, Findings& findings)
{
    if (module.state == CarouselModule::State::Refused)
        findings.add("carousel-module-refused", place, nameOf(module) + ": " + module.problem);
    else if (!module.problem.empty())
        findings.add("carousel-module-damaged", place, nameOf(module) + ": " + module.problem);
    if (module.unreachedFiles > 0)
        findings.add("carousel-file-unreached", place,
                     nameOf(module) + ": " + std::to_string(module.unreachedFiles) + " of " +
                         counted(module.files, "file"));
}

/// What was announced and what came, of one module.
void compareBlocks(const CarouselModuleStatus& module, const BlockTally& tally, const Place& place,
                   Findings& findings)
{
    if (tally.version != module.announcement.version)
        return;
    // Where a module changes, a round of the other version may come before the list or after it.
    if (tally.otherBlocks >= roundsThatCount * module.blocksNeeded && tally.otherBlocks > 0)
        findings.add("carousel-block-version", place,
                     nameOf(module) + " is announced, blocks of version " +
                         std::to_string(tally.otherVersion) + " come");
    if (module.blocksNeeded > 0 && tally.highestNumber >= module.blocksNeeded)
        findings.add("carousel-block-number", place,
                     nameOf(module) + ": block " + std::to_string(tally.highestNumber) +
                         " where the last is " + std::to_string(module.blocksNeeded - 1));
}

/// @param incomplete modules, of which that is told already
void checkListing(const receiver::CarouselListing& listing, const std::set<uint16_t>& incomplete,
                  const Place& place, Findings& findings)
{
    size_t named = 0;
    for (const receiver::MissingFile& file : listing.missing) {
        const bool isPending = file.moduleId && incomplete.count(*file.moduleId) != 0;
        if (!isPending && ++named <= mostFilesNamed)
            findings.add("carousel-file-missing", place, file.path + ": " + file.reason);
    }
}

/// The PID of the stream that is called so; nothing where the PMT does not list it.
std::optional<uint16_t> pidOf(const ServiceSurvey& service, uint16_t componentTag)
{
    for (const receiver::StreamDescription& stream : service.map.streams) {
        if (stream.componentTag == componentTag)
            return stream.pid;
    }
    return std::nullopt;
}

class GroupCheck {
public:
    /// @param hasLasted whether every carousel must have begun by now
    GroupCheck(const ServiceSurvey& service, uint16_t id, bool hasLasted, Findings& findings)
        : survey_(*service.carousels), service_(service), id_(id), hasLasted_(hasLasted),
          findings_(findings)
    {
    }

    void run()
    {
        survey_.carousels().visit(
            [this](uint8_t tag, const receiver::ObjectCarousel& carousel) { look(tag, carousel); });
        for (const auto& [key, tally] : survey_.tallies()) {
            if (announced_.count(key) == 0 && tally.allBlocks > 0)
                findings_.add("carousel-block-unannounced", placeOn(tally.pid),
                              "module " + std::to_string(key.second) + ": " +
                                  counted(tally.allBlocks, "block"));
        }
    }

private:
    Place placeOn(std::optional<uint16_t> pid) const
    {
        Place place;
        place.service = id_;
        place.pid = pid;
        return place;
    }

    void look(uint8_t tag, const receiver::ObjectCarousel& carousel)
    {
        Place place = placeOn(pidOf(service_, tag));
        place.table = "carousel " + hexadecimal(tag, 2);
        const Modules modules = carousel.modules();
        if (!carousel.carouselId() && hasLasted_)
            findings_.add("carousel-no-gateway", place, "no DSI came");
        else if (modules.empty() && hasLasted_)
            findings_.add("carousel-no-list", place, "no DII announces a module");
        const uint64_t rounds = roundsOf(modules);
        std::set<uint16_t> incomplete;
        for (const CarouselModuleStatus& module : modules) {
            announced_.insert(keyOf(module));
            lookAt(module, rounds, place);
            if (module.state == CarouselModule::State::Incomplete)
                incomplete.insert(module.announcement.moduleId);
        }
        checkListing(carousel.list(), incomplete, place, findings_);
    }

    void lookAt(const CarouselModuleStatus& module, uint64_t rounds, Place place)
    {
        const BlockTally* const tally = tallyOf(module);
        place.pid = tally && tally->pid != 0 ? tally->pid : pidOf(service_, module.stream);
        if (module.state == CarouselModule::State::Incomplete)
            findings_.add(tally && isNeverWhole(module, *tally, rounds)
                              ? "carousel-block-missing"
                              : "carousel-module-incomplete",
                          place, nameOf(module) + ": " + blocksOf(module) + otherDownload(module));
        checkModuleState(module, place, findings_);
        if (tally)
            compareBlocks(module, *tally, place, findings_);
    }

    /// Whether what it lacks should have come by now.
    bool isNeverWhole(const CarouselModuleStatus& module, const BlockTally& tally,
                      uint64_t rounds) const
    {
        if (module.blocksReceived > 0)
            return tally.blocks > roundsThatCount * module.blocksReceived;
        const bool isNew = tally.announcedAt > survey_.lists() / 2;
        return !isNew && (rounds > roundsThatCount || (rounds == 0 && hasLasted_));
    }

    /// How often the blocks of all modules came of which there were any; 0 where there were none.
    uint64_t roundsOf(const Modules& modules) const
    {
        std::optional<uint64_t> fewest;
        for (const CarouselModuleStatus& module : modules) {
            const BlockTally* const tally = tallyOf(module);
            if (!tally || module.blocksReceived == 0)
                continue;
            const uint64_t rounds = tally->blocks / module.blocksReceived;
            fewest = std::min(fewest.value_or(rounds), rounds);
        }
        return fewest ? std::max<uint64_t>(*fewest, 1) : 0;
    }

    /// What comes in the place of a module's blocks, for people.
    std::string otherDownload(const CarouselModuleStatus& module) const
    {
        if (module.blocksReceived > 0)
            return "";
        for (const auto& [key, tally] : survey_.tallies()) {
            if (key.second == module.announcement.moduleId && key.first != module.downloadId &&
                !tally.isAnnounced)
                return ", blocks of download " + hexadecimal(key.first, 8) +
                       " come where the DII announces " + hexadecimal(module.downloadId, 8);
        }
        return "";
    }

    static CarouselSurvey::ModuleKey keyOf(const CarouselModuleStatus& module)
    {
        return {module.downloadId, module.announcement.moduleId};
    }

    const BlockTally* tallyOf(const CarouselModuleStatus& module) const
    {
        const auto tally = survey_.tallies().find(keyOf(module));
        return tally == survey_.tallies().end() ? nullptr : &tally->second;
    }

    const CarouselSurvey& survey_;
    const ServiceSurvey& service_;
    const uint16_t id_;
    const bool hasLasted_;
    Findings& findings_;
    std::set<CarouselSurvey::ModuleKey> announced_;
};

}  // namespace

void checkCarousels(const Survey& survey, Findings& findings)
{
    std::set<const CarouselSurvey*> looked;
    for (const auto& [id, service] : survey.services) {
        if (service.carousels && looked.insert(service.carousels.get()).second)
            GroupCheck(service, id, survey.hasLasted(untilBeginningMs), findings).run();
    }
}

}  // namespace inspector
