/// What the stream tells of its services beside applications: programmes, components, the network.
#ifndef VESTA_RECEIVER_SERVICE_SERVICE_INFORMATION_H
#define VESTA_RECEIVER_SERVICE_SERVICE_INFORMATION_H

#include <cstdint>
#include <map>
#include <vector>

#include "foundation/mutex.h"
#include "receiver/objects/service_information_source.h"
#include "receiver/service/event_information.h"
#include "receiver/service/network_information.h"
#include "receiver/service/service_tables.h"
#include "receiver/stream/transport_stream.h"

namespace receiver {

/// Fed by the middleware thread, asked by any. Tables are kept as they come and read when somebody
/// asks, so that they cost little while nobody does.
class ServiceInformation : public ServiceInformationSource {
public:
    /// @name For the middleware thread
    /// @{
    /// The PIDs whose sections are needed: NIT and EIT.
    static constexpr uint16_t pids[] = {0x0010, 0x0012};
    static bool isOnPid(uint16_t pid) { return pid == pids[0] || pid == pids[1]; }

    /// Takes a section of one of these PIDs.
    /// @return whether an answer of programmesOf() or componentsOf() may be another now
    bool feed(uint16_t pid, const SectionBytes& section);

    /// The stream's list of services: what is known of others is forgotten.
    void setServices(const std::vector<Service>& services);

    /// A service's PMT. @return as feed()
    bool setProgramMap(uint16_t serviceId, const SectionBytes& pmt);
    /// @}

    std::vector<Programme> programmesOf(uint16_t serviceId) const override;
    std::vector<Programme> scheduleOf(uint16_t serviceId) const override;
    std::vector<Component> componentsOf(uint16_t serviceId) const override;
    ServiceDetails detailsOf(uint16_t serviceId) const override;
    unsigned long long changesOf(uint16_t serviceId) const override;

private:
    mutable VestaHbbTV::Mutex mutex_;
    EventInformation events_ VESTA_GUARDED_BY(mutex_);
    TableCollector nit_ VESTA_GUARDED_BY(mutex_);
    std::map<uint16_t, Service> services_ VESTA_GUARDED_BY(mutex_);
    std::map<uint16_t, SectionBytes> programMaps_ VESTA_GUARDED_BY(mutex_);
    // Of services that are, or were, listed.
    std::map<uint16_t, unsigned long long> changes_ VESTA_GUARDED_BY(mutex_);
};

}  // namespace receiver

#endif
