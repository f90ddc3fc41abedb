/// A module of an object carousel: from its blocks to its objects.
#ifndef VESTA_RECEIVER_CAROUSEL_CAROUSEL_MODULE_H
#define VESTA_RECEIVER_CAROUSEL_CAROUSEL_MODULE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "receiver/carousel/biop_objects.h"
#include "receiver/carousel/dsmcc_sections.h"

namespace receiver {

/// What the carousels of a service may take together, so that no broadcast can exhaust the
/// receiver.
struct CarouselLimits {
    size_t memory = 64 * 1024 * 1024;      ///< bytes of all modules and objects together
    size_t moduleSize = 16 * 1024 * 1024;  ///< bytes of one module, broadcast or unpacked
    size_t modules = 4096;                 ///< modules announced at a time
    size_t infoIndications = 256;          ///< DIIs at a time
    size_t directoryDepth = 64;            ///< how deep a listing goes
    size_t listedFiles = 16384;            ///< how long a listing gets
};

/// How much is in use out of what is allowed. Must outlive the shares taken from it.
class Budget {
public:
    explicit Budget(size_t limit) : limit_(limit) {}

    size_t limit() const { return limit_; }
    size_t used() const { return used_; }
    size_t available() const { return limit_ - used_; }

    /// @return false, taking nothing, when there is not enough left
    bool take(size_t amount);
    void giveBack(size_t amount) { used_ -= amount; }

private:
    size_t limit_;
    size_t used_ = 0;
};

/// What is left of the limits for all carousels of a service.
struct CarouselBudget {
    explicit CarouselBudget(const CarouselLimits& limits)
        : memory(limits.memory), earlyBlocks(limits.memory / 2), modules(limits.modules),
          infoIndications(limits.infoIndications)
    {
    }

    Budget memory;       ///< bytes
    Budget earlyBlocks;  ///< bytes of the memory, of blocks that nothing has announced
    Budget modules;
    Budget infoIndications;

    /// Asked for so many bytes when a module needs more than is left; makes what nothing needs yet
    /// give way. Null where one carousel has the budget for itself.
    std::function<void(size_t bytes)> makeRoom;
};

/// Assembles one version of a module and unpacks it. Reports a refusal once, through its result.
class CarouselModule {
public:
    enum class State { Incomplete, Complete, Refused };

    /// Takes no memory yet: a size announced is not a size received.
    /// @param memory borrowed for the object's life
    CarouselModule(const ModuleAnnouncement& announcement, uint32_t downloadId, uint16_t blockSize,
                   const CarouselLimits& limits, Budget& memory);
    ~CarouselModule();
    CarouselModule(const CarouselModule&) = delete;
    CarouselModule& operator=(const CarouselModule&) = delete;

    /// Takes a block of this module. A block of another version, with a number or size that does
    /// not fit, or one that is there already changes nothing; of the first with another size than
    /// announced problem() says so.
    /// @return whether the state or the problem changed
    bool addBlock(const DataBlock& block);

    State state() const { return state_; }

    /// Why the module is refused, or what is wrong with it; else empty.
    const std::string& problem() const { return problem_; }

    const ModuleAnnouncement& announcement() const { return announcement_; }
    uint32_t downloadId() const { return downloadId_; }
    uint16_t blockSize() const { return blockSize_; }
    size_t blocksReceived() const { return blocksReceived_; }
    size_t blocksNeeded() const;

    /// The bytes of a complete module, unpacked; readers may keep them beyond the module's life.
    const std::shared_ptr<const unsigned char[]>& content() const { return content_; }

    /// @return the object, or null; valid while the module lives
    const BiopObject* findObject(const std::string& key) const;

    const std::map<std::string, BiopObject>& objects() const { return objects_; }

private:
    void checkAnnouncement(const CarouselLimits& limits);
    bool noteOddBlock(const DataBlock& block);
    size_t sizeOfBlock(size_t blockNumber) const;
    bool beginReceiving();
    void complete();
    std::string unpack();
    void readObjects();
    size_t contentSize() const;
    bool takeMemory(size_t bytes);
    void refuse(const std::string& reason);

    const ModuleAnnouncement announcement_;
    const uint32_t downloadId_;
    const uint16_t blockSize_;
    Budget& memory_;
    size_t memoryTaken_ = 0;
    State state_ = State::Incomplete;
    std::string problem_;
    // Its pages are the system's until blocks are written to them: one block of a big module costs
    // little. Read once all blocks are there.
    std::unique_ptr<unsigned char[]> received_;
    std::vector<bool> blockIsThere_;
    size_t blocksReceived_ = 0;
    std::shared_ptr<const unsigned char[]> content_;
    std::map<std::string, BiopObject> objects_;
};

}  // namespace receiver

#endif
