#include "receiver/console/status_page.h"

#include <iomanip>
#include <sstream>

#include "receiver/session.h"

namespace receiver {

namespace {

const char* stateOf(const TAVO_VestaWindow& window)
{
    return window.loaded ? "loaded" : "loading";
}

void writeWindows(Session& session, std::ostream& out)
{
    out << "windows\n";
    if (session.browser().windows().empty())
        out << "  none\n";
    for (const TAVO_VestaWindow* const window : session.browser().windows()) {
        const bool hasKeys = window == session.browser().focusedWindow();
        out << "  " << window->id << "  " << (window->visible ? "shown" : "hidden") << ", "
            << stateOf(*window) << (hasKeys ? ", has the keys" : "") << "  " << window->url << "\n";
    }
}

void writeApplications(Session& session, std::ostream& out)
{
    out << "applications\n";
    if (session.integrator().applications().empty())
        out << "  none\n";
    for (const auto& application : session.integrator().applications()) {
        out << "  " << application.ids << "  in window " << application.window->id << ", "
            << "broadcast-" << (application.broadcastRelated ? "related" : "independent") << ", "
            << (application.visible ? "shown" : "hidden");
        if (!application.parent.empty())
            out << ", created by " << application.parent;
        out << "\n";
    }
}

void writeTable(Session& session, std::ostream& out)
{
    out << "table in force\n";
    if (session.integrator().table().empty())
        out << "  none\n";
    for (const std::string& line : session.integrator().table())
        out << line << "\n";
}

void writeCarousels(Session& session, std::ostream& out)
{
    for (const auto& status : session.middleware().carousels().status()) {
        out << "carousel 0x" << std::hex << static_cast<unsigned>(status.componentTag) << std::dec
            << ": " << status.progress.modulesComplete << " of " << status.progress.modulesKnown
            << " modules, " << withSeparators(status.progress.memoryUsed) << " bytes\n";
        for (const CarouselFile& file : status.listing.files)
            out << std::setw(12) << withSeparators(file.file.size) << "  " << file.path << "\n";
        for (const CarouselStreamEvents& events : status.listing.streamEvents)
            out << "     stream events  " << events.path << " (" << events.events.size() << ")\n";
    }
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

std::string servicesPage(Session& session)
{
    std::ostringstream out;
    for (const Service& service : session.middleware().services()) {
        const bool isTuned = session.middleware().tunedService() == service.programNumber;
        out << (isTuned ? "* " : "  ") << std::setw(5) << service.programNumber << "  "
            << service.name << wordsFor(session.middleware().signallingOf(service.programNumber))
            << "\n";
    }
    return out.str().empty() ? "no services yet\n" : out.str();
}

std::string statusPage(Session& session)
{
    std::ostringstream out;
    writeWindows(session, out);
    writeApplications(session, out);
    writeTable(session, out);
    writeCarousels(session, out);
    const StreamStatistics statistics = session.middleware().statistics();
    out << "stream: " << withSeparators(statistics.packets) << " packets, "
        << withSeparators(statistics.continuityErrors) << " gaps, "
        << withSeparators(statistics.crcErrors) << " damaged sections\n";
    return out.str();
}

}  // namespace receiver
