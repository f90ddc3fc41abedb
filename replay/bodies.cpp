#include "replay/bodies.h"

#include "recorder/boundary/hash.h"

namespace replay {

namespace {

const size_t hashLength = 64;
/// What a file of a carousel may have, and more.
const uint64_t largestBody = uint64_t(1) << 28;
const uint64_t mostLeftOut = uint64_t(1) << 30;  // all of them

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
    // The hash itself, over and over: no other body has it at this length.
    std::string bytes(static_cast<size_t>(length), '\0');
    for (size_t place = 0; place < bytes.size(); ++place)
        bytes[place] = hash[place % hashLength];
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
