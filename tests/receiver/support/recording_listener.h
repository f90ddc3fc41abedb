/// A listener that keeps what a transport stream reports.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_RECORDING_LISTENER_H
#define VESTA_TESTS_RECEIVER_SUPPORT_RECORDING_LISTENER_H

#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "receiver/stream/transport_stream.h"

namespace receiver {

class RecordingListener : public TransportStreamListener {
public:
    void servicesChanged(const std::vector<Service>& list) override { services.push_back(list); }
    void pmtReceived(const Service& service, const SectionBytes& section) override
    {
        pmts.emplace_back(service, section);
    }
    void sectionReceived(uint16_t pid, const SectionBytes& section) override
    {
        sections[pid].push_back(section);
        if (onSection)
            onSection(pid, section);
    }
    void clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity) override
    {
        clocks.push_back({pid, ticks, discontinuity});
    }

    void sectionLeftOut(uint16_t pid, const LeftOutSection& section) override
    {
        leftOut[pid].push_back(section);
    }

    struct Clock {
        uint16_t pid;
        uint64_t ticks;
        bool discontinuity;
    };

    std::vector<std::vector<Service>> services;  // one list a change
    std::vector<std::pair<Service, SectionBytes>> pmts;
    std::map<uint16_t, std::vector<SectionBytes>> sections;
    std::vector<Clock> clocks;
    std::map<uint16_t, std::vector<LeftOutSection>> leftOut;
    std::function<void(uint16_t, const SectionBytes&)> onSection;
};

}  // namespace receiver

#endif
