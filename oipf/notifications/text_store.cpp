#include "oipf/notifications/text_store.h"

namespace VestaHbbTV {

namespace {

constexpr size_t sharedBlockSize = 4096;

/// A longer text gets a block of its own, so that little of a shared one stays unused.
constexpr size_t longestShared = 256;

}  // namespace

char* TextStore::add(std::string_view text)
{
    char* const copy = take(text.size() + 1);
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}

char* TextStore::take(size_t size)
{
    if (size > longestShared) {
        blocks_.push_back(std::unique_ptr<char[]>(new char[size]));
        return blocks_.back().get();
    }
    if (size > freeSize_) {
        blocks_.push_back(std::unique_ptr<char[]>(new char[sharedBlockSize]));
        free_ = blocks_.back().get();
        freeSize_ = sharedBlockSize;
    }
    char* const taken = free_;
    free_ += size;
    freeSize_ -= size;
    return taken;
}

}  // namespace VestaHbbTV
