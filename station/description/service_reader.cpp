#include "station/description/service_reader.h"

#include <algorithm>
#include <set>
#include <utility>

#include "station/description/part_readers.h"

namespace station {

namespace {

constexpr unsigned pidsPerService = 0x100;
constexpr unsigned lastPid = 0x1FFE;

const Choices serviceTypes = {{"tv", 0x01}, {"radio", 0x02}, {"hd_tv", 0x19}};

/// Reads a service part by part; what one part says of another is compared at the end.
class ServiceReader {
public:
    ServiceReader(ObjectReader& object, unsigned index, const StationFrame& frame, PidBook& pids)
        : object_(object), frame_(frame), pids_(pids),
          firstPid_(pidsPerService * (1 + index % (lastPid / pidsPerService - 1)))
    {
    }

    Service read()
    {
        readNames();
        readComponents();
        readApplications();
        readCarousels();
        readEventStreams();
        service_.pcrPid = readPcrPid();
        readProgrammes();
        return std::move(service_);
    }

private:
    void readNames()
    {
        service_.place = object_.place();
        service_.id = object_.number("id", {1, 0xFFFF});
        service_.name = object_.text("name");
        service_.provider = object_.text("provider", "");
        service_.type = object_.choice("type", serviceTypes, "tv");
        service_.pmtPid = pids_.claim(object_, "pmt_pid", firstPid_);
    }

    void readComponents()
    {
        object_.objects("components", [this](ObjectReader& item) {
            const auto tag = static_cast<unsigned>(service_.components.size() + 1);
            Component component = readComponent(item, tag);
            component.pid = pids_.claim(item, "pid", firstPid_ + 0x10);
            claimTag(item, component.componentTag);
            service_.components.push_back(component);
        });
    }

    void readApplications()
    {
        if (!object_.has("ait"))
            return;
        object_.object("ait", [this](ObjectReader& ait) {
            service_.applications = readApplicationTable(ait);
            service_.applications->pid = pids_.claim(ait, "pid", firstPid_ + 1);
        });
    }

    void readCarousels()
    {
        std::set<uint32_t> ids;
        object_.objects("carousels", [&](ObjectReader& item) {
            Carousel carousel = readCarousel(item, frame_);
            carousel.pid = pids_.claim(item, "pid", firstPid_ + 0x20);
            claimTag(item, carousel.componentTag);
            if (!ids.insert(carousel.id).second)
                item.complain("id", "another carousel of the service has this id");
            service_.carousels.push_back(carousel);
        });
    }

    void readEventStreams()
    {
        object_.objects("event_streams", [this](ObjectReader& item) {
            EventStream stream = readEventStream(item, frame_);
            stream.pid = pids_.claim(item, "pid", firstPid_ + 0x30);
            claimTag(item, stream.componentTag);
            service_.eventStreams.push_back(stream);
        });
        checkReferences();
    }

    void readProgrammes()
    {
        std::set<unsigned> ids;
        object_.objects("programmes", [&](ObjectReader& item) {
            std::vector<Programme>& known = service_.programmes;
            known.push_back(readProgramme(item, known.empty() ? nullptr : &known.back(), frame_));
            if (!ids.insert(known.back().eventId).second)
                item.complain("id", "another programme of the service has this id");
        });
        service_.hasSchedule = object_.flag("schedule", true);
    }

    /// The clock is in the stream that the key says, in the first component, or on its own.
    unsigned readPcrPid()
    {
        if (!object_.has("pcr_pid"))
            return service_.components.empty() ? pids_.claim(object_, "pcr_pid", firstPid_ + 0x0F)
                                               : service_.components.front().pid;
        const unsigned pid = object_.number("pcr_pid", pidRange);
        const auto& components = service_.components;
        const bool isComponent =
            std::any_of(components.begin(), components.end(),
                        [pid](const Component& component) { return component.pid == pid; });
        return isComponent ? pid : pids_.claim(object_, "pcr_pid", pid);
    }

    void claimTag(ObjectReader& item, unsigned tag)
    {
        if (!tags_.insert(tag).second)
            item.complain("component_tag", "another component of the service has this tag");
    }

    void complain(const Place& place, const std::string& message)
    {
        object_.problems().push_back({place, message});
    }

    /// Applications lie in carousels, stream event objects refer to streams: there have to be such.
    void checkReferences()
    {
        std::set<unsigned> carousels;
        for (const Carousel& carousel : service_.carousels)
            carousels.insert(carousel.componentTag);
        for (const Carousel& carousel : service_.carousels) {
            for (const StreamEventObject& events : carousel.streamEvents) {
                if (!hasEventStream(events.componentTag))
                    complain(carousel.place, "the events of \"" + events.path +
                                                 "\" have no stream with component tag " +
                                                 std::to_string(events.componentTag));
            }
        }
        if (!service_.applications)
            return;
        for (const Application& application : service_.applications->applications) {
            for (const Transport& transport : application.transports) {
                if (transport.componentTag && carousels.count(*transport.componentTag) == 0)
                    complain(application.place, "the service has no carousel with component tag " +
                                                    std::to_string(*transport.componentTag));
            }
        }
    }

    bool hasEventStream(unsigned tag) const
    {
        const auto& streams = service_.eventStreams;
        return std::any_of(streams.begin(), streams.end(),
                           [tag](const EventStream& stream) { return stream.componentTag == tag; });
    }

    ObjectReader& object_;
    const StationFrame& frame_;
    PidBook& pids_;
    unsigned firstPid_;
    std::set<unsigned> tags_;
    Service service_;
};

}  // namespace

// The PIDs of the tables that no description chooses: ETSI EN 300 468, 5.1.3.
PidBook::PidBook()
{
    for (unsigned pid = 0; pid < unsigned(pidRange.least); ++pid)
        owners_[pid] = "the tables that every stream has";
}

unsigned PidBook::claim(ObjectReader& object, const std::string& key, unsigned from)
{
    unsigned otherwise = from;
    while (owners_.count(otherwise) != 0 && otherwise < lastPid)
        ++otherwise;
    const unsigned pid = object.number(key, pidRange, otherwise);
    const auto [entry, isFree] = owners_.try_emplace(pid, object.placeOf(key).path);
    if (!isFree)
        object.complain(key, "the PID is taken by " + entry->second);
    return pid;
}

Service readService(ObjectReader& object, unsigned index, const StationFrame& frame, PidBook& pids)
{
    return ServiceReader(object, index, frame, pids).read();
}

}  // namespace station
