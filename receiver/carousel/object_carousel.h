/// The object carousel: a broadcast file system (ISO/IEC 13818-6, ETSI TR 101 202).
#ifndef VESTA_RECEIVER_CAROUSEL_OBJECT_CAROUSEL_H
#define VESTA_RECEIVER_CAROUSEL_OBJECT_CAROUSEL_H

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "receiver/carousel/biop_objects.h"
#include "receiver/carousel/carousel_module.h"
#include "receiver/carousel/dsmcc_sections.h"

namespace receiver {

/// The bytes of a file. They stay as they are while the view lives, whatever the carousel does.
struct FileView {
    std::shared_ptr<const unsigned char[]> owner;
    const unsigned char* data = nullptr;  ///< null for an empty file
    size_t size = 0;
    std::string contentType;  ///< as signalled; empty when it is not
};

/// Answer to a question for a file.
struct Lookup {
    enum class Result {
        Ready,    ///< the file is there
        Pending,  ///< something on the way to it is not received yet
        Error     ///< there is no such file, or it cannot be had
    };
    Result result = Result::Error;
    FileView file;       ///< when ready
    std::string reason;  ///< when not: what is missing, for people
};

/// Answer to a question for a stream-event object.
struct StreamEventLookup {
    Lookup::Result result = Lookup::Result::Error;
    std::vector<NamedEvent> events;
    std::vector<Tap> taps;  ///< where their stream descriptors are broadcast
    std::string reason;     ///< when not ready: what is missing, for people
};

struct CarouselFile {
    std::string path;
    FileView file;
    uint16_t moduleId = 0;
    uint8_t moduleVersion = 0;
};

/// A name that leads to something that is not there, or not yet whole.
struct MissingFile {
    std::string path;
    std::string reason;                    ///< for people
    std::optional<uint16_t> moduleId;      ///< where it should be; nothing for a useless reference
    std::optional<uint8_t> moduleVersion;  ///< once the module is announced
};

struct CarouselStreamEvents {
    std::string path;
    std::vector<NamedEvent> events;
    std::vector<Tap> taps;  ///< where their stream descriptors are broadcast
};

/// Everything that is reached from the gateway, in the order of the directories.
struct CarouselListing {
    std::vector<CarouselFile> files;  ///< complete
    std::vector<CarouselStreamEvents> streamEvents;
    std::vector<MissingFile> missing;
    std::vector<std::string> boundTwice;  ///< directories that are listed under another name
    size_t leftOut = 0;                   ///< names that a limit keeps from being listed
};

/// A module as it stands.
struct CarouselModuleStatus {
    uint16_t stream = 0;  ///< that carries the list which announces it, as it is fed
    uint32_t downloadId = 0;
    ModuleAnnouncement announcement;
    CarouselModule::State state = CarouselModule::State::Incomplete;
    size_t blocksNeeded = 0;
    size_t blocksReceived = 0;
    std::string problem;  ///< why it is refused, or what is wrong with it; else empty
    size_t files = 0;
    size_t unreachedFiles = 0;  ///< to which no way leads from the gateway
};

struct CarouselProgress {
    size_t modulesKnown = 0;
    size_t modulesComplete = 0;
    size_t modulesRefused = 0;
    size_t blocksNeeded = 0;    ///< of all modules but the refused ones
    size_t blocksReceived = 0;  ///< a complete module counts with all its blocks
    size_t blocksDropped = 0;   ///< never announced, and more than the memory could hold
    size_t memoryUsed = 0;      ///< bytes, of all carousels that share a budget
};

/// Association tags, and the tags under which the streams that they mean are fed.
using AssociationTags = std::map<uint16_t, uint16_t>;

/// Puts one carousel together from its sections and finds files in it. The carousel is the one
/// whose gateway (DSI) comes first: feed the stream of its component alone at the beginning, then
/// what wantedAssociationTags() asks for. One thread; file views may go to others.
///
/// A new version of a module takes the place of the old one as soon as it is announced; its files
/// are pending until it is received. Blocks of modules that are not announced yet are kept within
/// half of the memory, until announced modules need it.
class ObjectCarousel {
public:
    /// Hears one sentence whenever a limit or damage makes the carousel refuse something.
    using MessageHandler = std::function<void(const std::string& message)>;

    /// @param budget what is left for all carousels; null: the limits are for this one alone
    explicit ObjectCarousel(const CarouselLimits& limits = {}, MessageHandler handler = nullptr,
                            std::shared_ptr<CarouselBudget> budget = nullptr);
    ~ObjectCarousel();
    ObjectCarousel(const ObjectCarousel&) = delete;
    ObjectCarousel& operator=(const ObjectCarousel&) = delete;

    /// Takes a section of table 0x3B or 0x3C.
    /// @param associationTag of the stream that carried it: its component tag, unless
    ///        mapAssociationTags() says more
    /// @param section whole, with a correct CRC_32; borrowed for the call
    /// @return false when it is no well-formed download message; nothing changed then
    bool feedSection(uint16_t associationTag, const unsigned char* section, size_t size);

    /// Which streams the association tags mean that differ from component tags, in place of what
    /// was said before. Carousels of a service share one mapping.
    void mapAssociationTags(std::shared_ptr<const AssociationTags> streamTags);

    /// Gives up the blocks that nothing has announced.
    void dropEarlyBlocks();

    /// Looks for a file, or for a directory: what that answers is its names, as "a.html,b,sub".
    /// @param path "a/b/c.html", without a leading "/", escapes decoded by the caller; a directory
    ///        with a "/" at its end, the root empty. A directory without that "/" is an error
    Lookup find(const std::string& path) const;

    /// Looks for a stream-event object. @param path as above
    StreamEventLookup findStreamEvents(const std::string& path) const;

    /// @return what the carousel holds; a directory bound twice is listed under one of its names
    CarouselListing list() const;

    /// @return all modules that are announced, by stream, list and id
    std::vector<CarouselModuleStatus> modules() const;

    /// @return tags of streams that the carousel referred to and that were not fed yet
    std::set<uint16_t> wantedAssociationTags() const;

    /// @return the streams, as they are fed, that were referred to for the first time since the
    ///         last call; each tag once
    std::vector<uint16_t> takeNewReferences();

    CarouselProgress progress() const;
    size_t modulesKnown() const { return moduleCount_; }
    size_t modulesComplete() const { return completeCount_; }

    /// Grows whenever an answer of the functions above may have changed, blocks in between aside.
    uint64_t revision() const { return revision_; }

    /// @return the carousel's id, once its gateway is known
    std::optional<uint32_t> carouselId() const;

    /// Forgets everything received, not the mapping of association tags.
    void clear();

private:
    /// A DII is known by its stream and the identification in its transaction id.
    using IndicationKey = std::pair<uint16_t, uint16_t>;
    using Modules = std::map<uint16_t, std::unique_ptr<CarouselModule>>;
    struct Indication {
        std::vector<unsigned char> section;  // as received, to tell news from repetitions
        uint32_t downloadId = 0;
        Modules modules;
    };
    /// A block of a module that no list has announced yet: download id, module, stream, version,
    /// number.
    using EarlyBlockKey = std::tuple<uint32_t, uint16_t, uint16_t, uint8_t, uint16_t>;
    struct Resolution;
    struct Place;

    bool feedServerInitiate(uint16_t tag, const DownloadMessage& message);
    bool feedInfoIndication(const IndicationKey& key, const DownloadMessage& message,
                            std::vector<unsigned char> section);
    bool admits(const IndicationKey& key, const InfoIndication& indication) const;
    void replaceIndication(const IndicationKey& key, const InfoIndication& news,
                           std::vector<unsigned char> section);
    std::unique_ptr<CarouselModule> newModule(const ModuleAnnouncement& announcement,
                                              const InfoIndication& indication);
    bool feedDataBlock(uint16_t tag, const DownloadMessage& message);
    void addBlock(CarouselModule& module, const DataBlock& block);
    void keepEarlyBlock(uint16_t tag, const DataBlock& block);
    void useEarlyBlocks(const IndicationKey& key, const Indication& indication);
    void forgetEarlyBlocks();
    bool carriesBlocks(uint16_t tag, const IndicationKey& key, const CarouselModule& module) const;
    void countModules(const Modules& modules, bool come);
    void moduleChanged(const CarouselModule& module);
    void reportProblem(const CarouselModule& module);
    void report(const std::string& message);

    void noteReference(const ObjectReference& reference);
    void noteReference(uint16_t associationTag);
    void noteReferences(const CarouselModule& module);
    void forgetIndications();

    uint16_t streamOf(uint16_t associationTag) const;
    const CarouselModule* findModule(const ObjectReference& reference, Resolution& result) const;
    Resolution resolve(const ObjectReference& reference) const;
    Resolution walk(const std::string& path) const;
    Resolution walkToDirectory(const std::string& path) const;
    std::set<const BiopObject*> reachedObjects() const;
    void listObject(const std::string& path, const Resolution& found,
                    CarouselListing& listing) const;
    MissingFile missingFile(const std::string& path, const ObjectReference& target,
                            const std::string& reason) const;

    CarouselLimits limits_;
    MessageHandler handler_;
    std::shared_ptr<CarouselBudget> budget_;  // the modules below have shares of it
    std::shared_ptr<const AssociationTags> streamTags_;
    std::set<uint16_t> fedTags_;
    std::bitset<65536> references_;        // association tags, as they are written
    std::vector<uint16_t> newReferences_;  // those that were not taken yet
    std::optional<uint16_t> gatewayTag_;
    std::optional<ObjectReference> gateway_;
    std::map<IndicationKey, Indication> indications_;
    std::map<EarlyBlockKey, std::vector<unsigned char>> earlyBlocks_;
    size_t earlyBytes_ = 0;
    size_t blocksDropped_ = 0;
    size_t moduleCount_ = 0;
    size_t completeCount_ = 0;
    bool reportedTooManyModules_ = false;
    uint64_t revision_ = 0;
};

}  // namespace receiver

#endif
