#include "receiver/carousel/carousel_module.h"

#include <algorithm>
#include <utility>
#include <zlib.h>

namespace receiver {

namespace {

constexpr size_t mostBlocks = 65536;  // blockNumber has 16 bits
constexpr uint8_t deflateMethod = 8;  // RFC 1950, 2.2
constexpr size_t bestRatio = 1032;    // 258 bytes for two bits, RFC 1951, 3.2.5

std::string limitText(const char* what, size_t size, size_t limit)
{
    return std::string(what) + " " + std::to_string(size) + " bytes, more than the limit of " +
           std::to_string(limit);
}

// Unpacks into exactly the bytes that were announced, so that a bomb has nowhere to expand to.
bool inflateExactly(const unsigned char* packed, size_t packedSize, unsigned char* unpacked,
                    size_t unpackedSize)
{
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return false;
    stream.next_in = const_cast<unsigned char*>(packed);  // NOLINT: zlib only reads it
    stream.avail_in = static_cast<uInt>(packedSize);
    stream.next_out = unpacked;
    stream.avail_out = static_cast<uInt>(unpackedSize);
    const int result = inflate(&stream, Z_FINISH);
    const bool exact = result == Z_STREAM_END && stream.avail_out == 0;
    inflateEnd(&stream);
    return exact;
}

}  // namespace

bool Budget::take(size_t amount)
{
    if (amount > available())
        return false;
    used_ += amount;
    return true;
}

CarouselModule::CarouselModule(const ModuleAnnouncement& announcement, uint32_t downloadId,
                               uint16_t blockSize, const CarouselLimits& limits, Budget& memory)
    : announcement_(announcement), downloadId_(downloadId), blockSize_(blockSize), memory_(memory)
{
    checkAnnouncement(limits);
}

CarouselModule::~CarouselModule()
{
    memory_.giveBack(memoryTaken_);
}

void CarouselModule::checkAnnouncement(const CarouselLimits& limits)
{
    const ModuleAnnouncement& module = announcement_;
    if (module.size > limits.moduleSize)
        refuse(limitText("it has", module.size, limits.moduleSize));
    else if (module.compressed && module.originalSize > limits.moduleSize)
        refuse(limitText("it unpacks to", module.originalSize, limits.moduleSize));
    else if (module.compressed && (module.compressionMethod & 0x0F) != deflateMethod)
        refuse("its compression method is unknown");
    else if (module.size == 0)
        refuse("it is empty");
    else if (module.compressed && module.originalSize > bestRatio * module.size)
        refuse("its " + std::to_string(module.size) + " bytes cannot unpack to " +
               std::to_string(module.originalSize));
    else if (blockSize_ == 0)
        refuse("its blocks have no size");
    else if (blocksNeeded() > mostBlocks)
        refuse("it has more blocks than can be numbered");
}

size_t CarouselModule::blocksNeeded() const
{
    if (blockSize_ == 0)
        return 0;
    return announcement_.size / blockSize_ + (announcement_.size % blockSize_ != 0 ? 1 : 0);
}

size_t CarouselModule::sizeOfBlock(size_t blockNumber) const
{
    const size_t start = blockNumber * blockSize_;
    return std::min<size_t>(blockSize_, announcement_.size - start);
}

bool CarouselModule::addBlock(const DataBlock& block)
{
    if (state_ != State::Incomplete || block.moduleVersion != announcement_.version ||
        block.blockNumber >= blocksNeeded())
        return false;
    if (block.data.remaining() != sizeOfBlock(block.blockNumber))
        return noteOddBlock(block);
    if (blocksReceived_ == 0 && !beginReceiving())
        return true;
    if (blockIsThere_[block.blockNumber])
        return false;
    blockIsThere_[block.blockNumber] = true;
    ++blocksReceived_;
    const size_t start = static_cast<size_t>(block.blockNumber) * blockSize_;
    std::copy_n(block.data.data(), block.data.remaining(), received_.get() + start);
    if (blocksReceived_ < blocksNeeded())
        return false;
    complete();
    return true;
}

bool CarouselModule::noteOddBlock(const DataBlock& block)
{
    if (!problem_.empty())
        return false;
    const bool isLast = block.blockNumber + 1U == blocksNeeded();
    problem_ = std::string(isLast ? "its last block" : "a block") + " has " +
               std::to_string(block.data.remaining()) + " bytes where " +
               std::to_string(sizeOfBlock(block.blockNumber)) + " were announced";
    return true;
}

bool CarouselModule::beginReceiving()
{
    if (!takeMemory(announcement_.size))
        return false;
    received_.reset(new unsigned char[announcement_.size]);
    blockIsThere_.resize(blocksNeeded());
    return true;
}

void CarouselModule::complete()
{
    if (announcement_.compressed) {
        const std::string failure = unpack();
        if (!failure.empty())
            return refuse(failure);
    }
    content_ = std::move(received_);
    std::exchange(blockIsThere_, {});
    state_ = State::Complete;
    readObjects();
}

// Empty on success. While it unpacks, the module takes both sizes.
std::string CarouselModule::unpack()
{
    if (!memory_.take(announcement_.originalSize))
        return limitText("with it the carousels take", memory_.used() + announcement_.originalSize,
                         memory_.limit());
    std::unique_ptr<unsigned char[]> unpacked(new unsigned char[announcement_.originalSize]);
    const bool exact = inflateExactly(received_.get(), announcement_.size, unpacked.get(),
                                      announcement_.originalSize);
    memory_.giveBack(announcement_.size);
    memoryTaken_ = announcement_.originalSize;
    received_ = std::move(unpacked);
    return exact ? "" : "it does not unpack to the bytes announced";
}

size_t CarouselModule::contentSize() const
{
    return announcement_.compressed ? announcement_.originalSize : announcement_.size;
}

void CarouselModule::readObjects()
{
    BiopModule result = readBiopModule(content_.get(), contentSize(), memory_.available());
    if (result.overBudget || !takeMemory(result.memory))
        return refuse("its objects do not fit into the carousels' " +
                      std::to_string(memory_.limit()) + " bytes");
    problem_ = result.problem;
    for (BiopObject& object : result.objects) {
        std::string key = object.key;
        objects_.emplace(std::move(key), std::move(object));  // of equal keys the first counts
    }
}

bool CarouselModule::takeMemory(size_t bytes)
{
    if (memory_.take(bytes)) {
        memoryTaken_ += bytes;
        return true;
    }
    refuse(limitText("with it the carousels take", memory_.used() + bytes, memory_.limit()));
    return false;
}

void CarouselModule::refuse(const std::string& reason)
{
    state_ = State::Refused;
    problem_ = reason;
    received_.reset();
    std::exchange(blockIsThere_, {});  // "= {}" would keep its bytes
    objects_.clear();
    content_.reset();
    memory_.giveBack(memoryTaken_);
    memoryTaken_ = 0;
}

const BiopObject* CarouselModule::findObject(const std::string& key) const
{
    const auto found = objects_.find(key);
    return found == objects_.end() ? nullptr : &found->second;
}

}  // namespace receiver
