#include "replay/bodies.h"

#include "recorder/boundary/hash.h"

namespace replay {

namespace {

const size_t hashLength = 64;
/// What a file of a carousel may have, and more.
const uint64_t largestBody = uint64_t(1) << 28;
const uint64_t mostLeftOut = uint64_t(1) << 30;  // all of them

uint64_t seedOf(const std::string& text)
{
    uint64_t seed = 0xCBF29CE484222325;  // FNV-1a
    for (const char character : text)
        seed = (seed ^ static_cast<unsigned char>(character)) * 0x100000001B3;
    return seed;
}

/// The word at that place of a sequence that looks like chance (SplitMix64).
uint64_t wordAt(uint64_t seed, uint64_t place)
{
    uint64_t word = seed + place * 0x9E3779B97F4A7C15;
    word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9;
    word = (word ^ word >> 27) * 0x94D049BB133111EB;
    return word ^ word >> 31;
}

/// Made from the hash: no other body has them, and they differ from place to place.
std::string bytesInsteadOf(const std::string& hash, size_t length)
{
    const uint64_t seed = seedOf(hash);
    const size_t wordSize = sizeof(uint64_t);
    std::string bytes(length, '\0');
    for (size_t place = 0; place < length; ++place)
        bytes[place] =
            static_cast<char>(wordAt(seed, place / wordSize) >> 8 * (place % wordSize) & 0xFF);
    return bytes;
}

}  // namespace

bool isHash(const std::string& text)
{
    return text.size() == hashLength &&
           text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool Bodies::add(const std::string& hash, std::string bytes)
{
    if (recorder::hashOf(bytes.data(), bytes.size()) != hash)
        return false;
    bodies_[hash] = {std::move(bytes), false};
    return true;
}

bool Bodies::addLeftOut(const std::string& hash, uint64_t length)
{
    if (length > largestBody || length > mostLeftOut - leftOutBytes_)
        return false;
    leftOutBytes_ += length;
    std::string bytes = bytesInsteadOf(hash, static_cast<size_t>(length));
    leftOut_[recorder::hashOf(bytes.data(), bytes.size())] = hash;
    bodies_[hash] = {std::move(bytes), true};
    return true;
}

const Body* Bodies::find(const std::string& hash) const
{
    const auto found = bodies_.find(hash);
    return found == bodies_.end() ? nullptr : &found->second;
}

std::string Bodies::hashOf(const void* bytes, size_t length) const
{
    const std::string hash = recorder::hashOf(bytes, length);
    const auto found = leftOut_.find(hash);
    return found == leftOut_.end() ? hash : found->second;
}

}  // namespace replay
