/// The object carousels of the tuned service, and the files that the application manager reads
/// from them.
#ifndef VESTA_RECEIVER_CAROUSEL_SERVICE_CAROUSELS_H
#define VESTA_RECEIVER_CAROUSEL_SERVICE_CAROUSELS_H

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "receiver/carousel/carousel_path.h"
#include "receiver/carousel/file_requests.h"
#include "receiver/carousel/object_carousel.h"
#include "receiver/console/event_log.h"
#include "receiver/service/service_tables.h"
#include "receiver/stream/transport_stream.h"

namespace receiver {

/// A stream that is read as a carousel whatever the tables say.
struct CarouselPid {
    uint16_t pid = 0;
    std::optional<uint8_t> componentTag;  ///< nothing: as the carousel itself calls the stream
};

/// Fed by the middleware thread, read by the browser thread in the dsmcc_* hooks.
///
/// A stream of the service without carousel identifier descriptor begins a carousel of its own when
/// it carries a gateway (DSI). Until then, or until another carousel refers to it, what it carries
/// is kept within a quarter of the memory.
class ServiceCarousels {
public:
    /// @param alwaysRead whatever service is tuned to @param log borrowed
    ServiceCarousels(const CarouselLimits& limits, EventLog& log,
                     std::vector<CarouselPid> alwaysRead = {});

    /// Forgets the former service and its files. Pending files are to be answered with an error.
    /// @return the ids of the pending files
    std::vector<void*> leave();

    /// @param streams of the service's PMT, again whenever it changes: carousels that it lists no
    ///        more are forgotten
    void join(const Service& service, const std::vector<StreamDescription>& streams);

    /// The PIDs that carry carousels, or may. For the middleware thread alone.
    const std::set<uint16_t>& pids() const { return pids_; }

    /// Those of carousels that nobody could ask for, as the PMT gives them no component tag. For
    /// the middleware thread alone.
    const std::set<uint16_t>& pidsNotRead() const { return pidsNotRead_; }

    /// Takes a section of one of these PIDs.
    void feed(uint16_t pid, const SectionBytes& section);

    struct Answer {
        void* id;
        bool ready;
    };
    /// Pending files that are there now, or never will be. Nothing is looked for unless something
    /// new has come.
    /// @param most how many files are looked for at most; the next call goes on after them
    std::vector<Answer> takeAnswers(size_t most);

    /// How often a pending file was looked for: what takeAnswers() costs.
    uint64_t lookups() const;

    /// No more sections follow until leave(): nothing becomes pending any more.
    /// @return the ids of the pending files, which will not come
    std::vector<void*> giveUp();

    /// @name The platform's side of dsmcc_*; results are DSMCC_RESULT
    /// @{
    unsigned int getFile(const std::string& path, void* id);
    /// @return whether the id is known; an empty type is unknown
    unsigned int mimeType(void* id, std::string& type) const;
    /// The next bytes, valid until the file is closed.
    unsigned int read(void* id, char** bytes, unsigned int* count);
    /// Forgets the file, be it open or pending.
    unsigned int close(void* id);
    /// @}

    /// Looks for a stream-event object of the tuned service. Thread-safe.
    StreamEventLookup findStreamEvents(const CarouselPath& path) const;

    /// Grows whenever that answer may have changed. Thread-safe.
    uint64_t revision() const;

    struct Status {
        uint8_t componentTag;
        CarouselProgress progress;
        CarouselListing listing;
        bool hasGateway;
    };
    std::vector<Status> status() const;

    /// The files that the application manager waits for, as it asked for them.
    std::vector<std::string> pendingFiles() const;

    using CarouselVisitor = std::function<void(uint8_t componentTag, const ObjectCarousel&)>;
    /// Visits the carousels that have begun. The visitor must not call this object.
    void visit(const CarouselVisitor& visitor) const;

    /// How many sections of streams that are no carousel's were dropped to stay within the memory.
    size_t sectionsDropped() const;

    /// Of the streams that may begin a carousel, those without any gateway yet that no carousel
    /// refers to.
    std::vector<uint16_t> pidsWithoutCarousel() const;

    /// Whether some carousel has a complete file of this path.
    bool hasFile(const std::string& path) const;

private:
    /// A carousel and the streams that it is fed from.
    struct Reception {
        std::unique_ptr<ObjectCarousel> carousel;
        std::set<uint8_t> tags;           // component tags
        std::optional<uint16_t> ownName;  // how the carousel calls a stream that no table names
        uint64_t reportedRevision = 0;
        size_t reportedModules = 0;
    };

    /// A stream that may begin a carousel, or belong to one.
    struct Unclaimed {
        std::optional<uint8_t> tag;
        bool isReferredTo = false;        // a carousel gets its sections already
        std::set<SectionBytes> sections;  // the others; in this order lists come before blocks
    };

    Reception makeReception(uint8_t tag) VESTA_REQUIRES(mutex_);
    std::vector<StreamDescription>
    withThoseAlwaysRead(std::vector<StreamDescription> streams) const;
    void listenTo(const std::vector<StreamDescription>& streams) VESTA_REQUIRES(mutex_);
    void listenTo(const StreamDescription& stream, std::map<uint8_t, Reception>& carousels,
                  std::map<uint16_t, Unclaimed>& unclaimed) VESTA_REQUIRES(mutex_);
    bool isAlwaysRead(uint16_t pid) const;
    bool isComponentTag(uint16_t tag) const VESTA_REQUIRES(mutex_);
    void hold(uint16_t pid, const SectionBytes& section) VESTA_REQUIRES(mutex_);
    void keep(Unclaimed& stream, const SectionBytes& section) VESTA_REQUIRES(mutex_);
    void beginCarousel(uint16_t pid, const ObjectReference& gateway, const SectionBytes& section)
        VESTA_REQUIRES(mutex_);
    void followReferences(Reception& reception) VESTA_REQUIRES(mutex_);
    std::set<SectionBytes> takeHeld(Unclaimed& stream) VESTA_REQUIRES(mutex_);
    void makeRoom(size_t bytes) VESTA_REQUIRES(mutex_);
    void dropHeld() VESTA_REQUIRES(mutex_);
    /// What was found, and under which path.
    struct Search {
        Lookup lookup;
        std::string path;
    };

    bool answerIfThere(void* id, const FileRequests::PendingFile& file,
                       std::vector<Answer>& answers) VESTA_REQUIRES(mutex_);
    bool isOfService(const CarouselPath& path) const VESTA_REQUIRES(mutex_);
    const ObjectCarousel* carouselOf(uint8_t componentTag) const VESTA_REQUIRES(mutex_);
    const ObjectCarousel* carouselOf(const CarouselPath& path, Lookup::Result& result,
                                     std::string& reason) const VESTA_REQUIRES(mutex_);
    bool isWaitedFor(uint8_t componentTag) const VESTA_REQUIRES(mutex_);
    Search find(const CarouselPath& path) const VESTA_REQUIRES(mutex_);
    void report(const std::string& event, const std::string& text,
                const EventLog::Details& details = nullptr);
    void reportNews(uint8_t tag, Reception& reception) VESTA_REQUIRES(mutex_);

    const CarouselLimits limits_;
    const std::shared_ptr<CarouselBudget> budget_;  // of all carousels together
    EventLog& log_;
    mutable VestaHbbTV::Mutex mutex_;
    std::optional<Service> service_ VESTA_GUARDED_BY(mutex_);
    const std::vector<CarouselPid> alwaysRead_;
    std::map<uint16_t, uint8_t> tagsByPid_ VESTA_GUARDED_BY(mutex_);  // component tags
    std::set<uint16_t> pids_;
    std::set<uint16_t> pidsNotRead_;
    // Of the PMT, shared by the carousels.
    std::shared_ptr<const AssociationTags> associations_ VESTA_GUARDED_BY(mutex_);
    std::map<uint16_t, Unclaimed> unclaimed_ VESTA_GUARDED_BY(mutex_);  // by PID
    size_t heldBytes_ VESTA_GUARDED_BY(mutex_) = 0;
    size_t sectionsDropped_ VESTA_GUARDED_BY(mutex_) = 0;
    std::map<uint8_t, Reception> carousels_ VESTA_GUARDED_BY(mutex_);  // by component tag
    uint64_t revision_ VESTA_GUARDED_BY(mutex_) = 0;
    bool hasEnded_ VESTA_GUARDED_BY(mutex_) = false;
    FileRequests files_ VESTA_GUARDED_BY(mutex_);
    uint64_t lookups_ VESTA_GUARDED_BY(mutex_) = 0;
};

}  // namespace receiver

#endif
