// Whether carousels come whole, and lead where their directories say.
#include <set>

#include "inspector/check/checks.h"

namespace inspector {

namespace {

using receiver::CarouselModule;
using receiver::CarouselModuleStatus;
using Tallies = std::map<CarouselSurvey::ModuleKey, CarouselSurvey::BlockTally>;

constexpr size_t mostFilesNamed = 20;

/// No standard says how often a DSI comes; this is longer than any carousel is started with.
constexpr uint64_t untilGatewayMs = 10'000;

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
    if (module.state == CarouselModule::State::Incomplete)
        findings.add("carousel-module-incomplete", place, nameOf(module) + ": " + blocksOf(module));
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
void compareBlocks(const CarouselModuleStatus& module, const CarouselSurvey::BlockTally& tally,
                   const Place& place, Findings& findings)
{
    const bool isOtherVersion = tally.lastVersion != module.announcement.version;
    if (isOtherVersion && module.state == CarouselModule::State::Incomplete)
        findings.add("carousel-block-version", place,
                     nameOf(module) + " is announced, blocks of version " +
                         std::to_string(tally.lastVersion) + " come");
    if (!isOtherVersion && module.blocksNeeded > 0 && tally.highestNumber >= module.blocksNeeded)
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

class GroupCheck {
public:
    /// @param hasLasted whether a gateway must have come by now
    GroupCheck(const CarouselSurvey& survey, uint16_t service, bool hasLasted, Findings& findings)
        : survey_(survey), service_(service), hasLasted_(hasLasted), findings_(findings)
    {
    }

    void run()
    {
        survey_.carousels().visit(
            [this](uint8_t tag, const receiver::ObjectCarousel& carousel) { look(tag, carousel); });
        for (const auto& [key, tally] : survey_.tallies()) {
            if (announced_.count(key) == 0)
                findings_.add("carousel-block-unannounced", placeOn(tally.pid),
                              "module " + std::to_string(key.second) + ": " +
                                  counted(tally.blocks, "block"));
        }
    }

private:
    Place placeOn(std::optional<uint16_t> pid) const
    {
        Place place;
        place.service = service_;
        place.pid = pid;
        return place;
    }

    void look(uint8_t tag, const receiver::ObjectCarousel& carousel)
    {
        Place place = placeOn(std::nullopt);
        place.table = "carousel " + hexadecimal(tag, 2);
        if (!carousel.carouselId() && hasLasted_)
            findings_.add("carousel-no-gateway", place, "no DSI came");
        std::set<uint16_t> incomplete;
        for (const CarouselModuleStatus& module : carousel.modules()) {
            if (module.state == CarouselModule::State::Incomplete)
                incomplete.insert(module.announcement.moduleId);
            const CarouselSurvey::ModuleKey key(module.downloadId, module.announcement.moduleId);
            announced_.insert(key);
            checkModuleState(module, place, findings_);
            const auto tally = survey_.tallies().find(key);
            if (tally != survey_.tallies().end())
                compareBlocks(module, tally->second, place, findings_);
        }
        checkListing(carousel.list(), incomplete, place, findings_);
    }

    const CarouselSurvey& survey_;
    const uint16_t service_;
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
            GroupCheck(*service.carousels, id, survey.hasLasted(untilGatewayMs), findings).run();
    }
}

}  // namespace inspector
