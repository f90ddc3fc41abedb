#include "receiver/console/status_page.h"

#include <iomanip>
#include <sstream>
#include <utility>

#include "receiver/session.h"

namespace receiver {

namespace {

/// The lines of a page; names from the air cannot begin one.
class Page {
public:
    template <typename... Parts>
    void add(const Parts&... parts)
    {
        std::ostringstream line;
        (line << ... << parts);
        lines_.push_back(line.str());
    }

    std::vector<std::string> take() { return std::move(lines_); }

private:
    std::vector<std::string> lines_;
};

const char* stateOf(const TAVO_VestaWindow& window)
{
    return window.loaded ? "loaded" : "loading";
}

void addWindows(Session& session, Page& page)
{
    page.add("windows");
    if (session.browser().windows().empty())
        page.add("  none");
    for (const TAVO_VestaWindow* const window : session.browser().windows()) {
        const bool hasKeys = window == session.browser().focusedWindow();
        page.add("  ", window->id, "  ", window->visible ? "shown" : "hidden", ", ",
                 stateOf(*window), hasKeys ? ", has the keys" : "", "  ", window->url);
    }
}

void addApplications(Session& session, Page& page)
{
    page.add("applications");
    if (session.integrator().applications().empty())
        page.add("  none");
    for (const auto& application : session.integrator().applications())
        page.add("  ", application.ids, "  in window ", application.window->id, ", broadcast-",
                 application.broadcastRelated ? "related" : "independent", ", ",
                 application.visible ? "shown" : "hidden",
                 application.parent.empty() ? "" : ", created by ", application.parent);
}

void addTable(Session& session, Page& page)
{
    page.add("table in force");
    if (session.integrator().table().empty())
        page.add("  none");
    for (const std::string& line : session.integrator().table())
        page.add(line);
}

void addCarousels(Session& session, Page& page)
{
    const auto carousels = session.middleware().carousels().status();
    for (const auto& status : carousels) {
        page.add("carousel 0x", std::hex, static_cast<unsigned>(status.componentTag), std::dec,
                 ": ", status.progress.modulesComplete, " of ", status.progress.modulesKnown,
                 " modules");
        for (const CarouselFile& file : status.listing.files)
            page.add(std::setw(12), withSeparators(file.file.size), "  ", file.path);
        for (const CarouselStreamEvents& events : status.listing.streamEvents)
            page.add("     stream events  ", events.path, " (", events.events.size(), ")");
    }
    if (!carousels.empty())
        page.add("carousels together: ", withSeparators(carousels.front().progress.memoryUsed),
                 " bytes");
}

const char* wordsFor(std::optional<ApplicationSignalling> signalling)
{
    if (!signalling)
        return "  (no PMT yet)";
    switch (*signalling) {
    case ApplicationSignalling::HbbTV:
        return "  signals HbbTV";
    case ApplicationSignalling::Unsaid:
        return "  may signal HbbTV";
    case ApplicationSignalling::None:
        break;
    }
    return "";
}

}  // namespace

std::vector<std::string> servicesPage(Session& session)
{
    Page page;
    for (const Service& service : session.middleware().services()) {
        const bool isTuned = session.middleware().tunedService() == service.programNumber;
        page.add(isTuned ? "* " : "  ", std::setw(5), service.programNumber, "  ", service.name,
                 wordsFor(session.middleware().signallingOf(service.programNumber)));
    }
    std::vector<std::string> lines = page.take();
    if (lines.empty())
        lines.emplace_back("no services yet");
    return lines;
}

std::vector<std::string> statusPage(Session& session)
{
    Page page;
    addWindows(session, page);
    addApplications(session, page);
    addTable(session, page);
    addCarousels(session, page);
    const StreamStatistics statistics = session.middleware().statistics();
    page.add("stream: ", withSeparators(statistics.packets), " packets, ",
             withSeparators(statistics.continuityErrors), " gaps, ",
             withSeparators(statistics.damagedPackets), " damaged and ",
             withSeparators(statistics.scrambledPackets), " scrambled packets, ",
             withSeparators(statistics.crcErrors + statistics.cutSections), " damaged sections, ",
             withSeparators(statistics.syncLosses), " losses of sync (",
             withSeparators(statistics.skippedBytes), " bytes skipped)");
    if (const auto network = session.middleware().networkStatistics())
        page.add(summaryOf(*network));
    return page.take();
}

}  // namespace receiver
