/// Surveys a transport stream: all of its services, or one.
#ifndef VESTA_INSPECTOR_SURVEY_STREAM_SURVEYOR_H
#define VESTA_INSPECTOR_SURVEY_STREAM_SURVEYOR_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "inspector/survey/stream_time.h"
#include "inspector/survey/survey.h"
#include "receiver/stream/packet_framer.h"
#include "receiver/stream/transport_stream.h"

namespace inspector {

/// One pass, in pieces of any size; memory is bounded whatever comes.
class StreamSurveyor : private receiver::TransportStreamListener {
public:
    /// @param survey borrowed for the object's life
    /// @param onlyService nothing: all of them
    StreamSurveyor(Survey& survey, std::optional<uint16_t> onlyService);

    /// @return false once it is clear that this is not a transport stream
    bool feed(const unsigned char* bytes, size_t count);

    /// The input begins anew.
    void restart();

    /// No more bytes follow. @return false where there never was a transport stream
    bool finish();

private:
    void servicesChanged(const std::vector<receiver::Service>& services) override;
    void pmtReceived(const receiver::Service& service,
                     const receiver::SectionBytes& section) override;
    void sectionReceived(uint16_t pid, const receiver::SectionBytes& section) override;
    void clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity) override;
    void sectionLeftOut(uint16_t pid, const receiver::LeftOutSection& section) override;

    bool isWanted(uint16_t serviceId) const;
    Moment now() const { return time_.now().value_or(Moment()); }
    void lookForUnlisted(const unsigned char* packet);
    void chooseCarousels(ServiceSurvey& service);
    void listenToUnlisted();
    void listenTo(const std::set<uint16_t>& pids);
    void feedCarousels(uint16_t pid, const receiver::SectionBytes& section);
    void followTables();

    using CarouselStreams = std::vector<receiver::StreamDescription>;
    struct CarouselGroup {
        CarouselStreams streams;
        std::weak_ptr<CarouselSurvey> survey;
    };

    Survey& survey_;
    const std::optional<uint16_t> onlyService_;
    receiver::TransportStream stream_;
    StreamTime time_;
    std::vector<CarouselGroup> groups_;
    std::set<uint16_t> aitPids_;       // of all PMTs
    std::set<uint16_t> unlistedPids_;  // where something like an AIT was seen
    receiver::PacketFramer framer_;    // of the look for those
    uint64_t bytesLookedAt_ = 0;
};

}  // namespace inspector

#endif
