#include "receiver/service/service_information.h"

#include <iterator>
#include <set>

#include "receiver/service/components.h"

namespace receiver {

using VestaHbbTV::MutexLock;

namespace {

constexpr uint16_t networkPid = ServiceInformation::pids[0];
constexpr uint8_t networkTable = 0x40;  // 0x41 describes other networks

/// @return whether the network's table lists the service's transport stream so
bool isOn(const NetworkTransport& transport, const Service& service)
{
    return transport.transportStreamId == service.transportStreamId &&
           transport.originalNetworkId ==
               service.originalNetworkId.value_or(transport.originalNetworkId);
}

}  // namespace

bool ServiceInformation::feed(uint16_t pid, const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    const MutexLock lock(mutex_);
    if (pid == networkPid) {
        if (header.tableId == networkTable && header.current)
            nit_.add(section);
        return false;
    }
    if (events_.add(section) != EventInformation::News::PresentFollowing)
        return false;
    const auto changes = changes_.find(header.tableIdExtension);
    if (changes != changes_.end())
        ++changes->second;
    return true;
}

void ServiceInformation::setServices(const std::vector<Service>& services)
{
    const MutexLock lock(mutex_);
    services_.clear();
    std::set<uint16_t> ids;
    for (const Service& service : services) {
        services_.emplace(service.programNumber, service);
        ids.insert(service.programNumber);
        changes_.emplace(service.programNumber, 0);
    }
    events_.keepOnly(ids);
    for (auto map = programMaps_.begin(); map != programMaps_.end();)
        map = ids.count(map->first) == 0 ? programMaps_.erase(map) : std::next(map);
}

bool ServiceInformation::setProgramMap(uint16_t serviceId, const SectionBytes& pmt)
{
    const MutexLock lock(mutex_);
    SectionBytes& known = programMaps_[serviceId];
    if (known == pmt)
        return false;
    known = pmt;
    ++changes_[serviceId];
    return true;
}

std::vector<Programme> ServiceInformation::programmesOf(uint16_t serviceId) const
{
    const MutexLock lock(mutex_);
    return events_.presentFollowing(serviceId);
}

std::vector<Programme> ServiceInformation::scheduleOf(uint16_t serviceId) const
{
    const MutexLock lock(mutex_);
    return events_.schedule(serviceId);
}

std::vector<Component> ServiceInformation::componentsOf(uint16_t serviceId) const
{
    const MutexLock lock(mutex_);
    const auto map = programMaps_.find(serviceId);
    if (map == programMaps_.end())
        return {};
    const std::vector<Programme> present = events_.present(serviceId);
    const std::vector<unsigned char> none;
    return readComponents(map->second, present.empty() ? none : present.front().descriptors);
}

ServiceDetails ServiceInformation::detailsOf(uint16_t serviceId) const
{
    const MutexLock lock(mutex_);
    ServiceDetails details;
    const auto service = services_.find(serviceId);
    if (service != services_.end())
        details.serviceType = service->second.type;
    if (nit_.sections().empty())
        return details;
    const NetworkInformation network = readNetworkInformation(nit_.sections());
    details.networkId = network.networkId;
    for (const NetworkTransport& transport : network.transports) {
        const bool isAsked = service != services_.end() && isOn(transport, service->second);
        if (isAsked && details.deliverySystem.empty())
            details.deliverySystem = transport.deliverySystem;
    }
    return details;
}

unsigned long long ServiceInformation::changesOf(uint16_t serviceId) const
{
    const MutexLock lock(mutex_);
    const auto changes = changes_.find(serviceId);
    return changes == changes_.end() ? 0 : changes->second;
}

}  // namespace receiver
