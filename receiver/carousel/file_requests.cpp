#include "receiver/carousel/file_requests.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/text/mime_type.h"

namespace receiver {

namespace {

const size_t readBytes = size_t(1) << 20;

}  // namespace

void FileRequests::open(void* id, const std::string& path, const FileView& view)
{
    open_[id] = {path, view, 0};
}

void FileRequests::wait(void* id, const PendingFile& file)
{
    pending_[id] = file;
}

bool FileRequests::forget(void* id)
{
    const bool wasPending = pending_.erase(id) != 0;
    return open_.erase(id) != 0 || wasPending;
}

unsigned int FileRequests::mimeType(void* id, std::string& type) const
{
    const auto file = open_.find(id);
    if (file == open_.end())
        return DSMCC_UNKNOWN_ID;
    type = file->second.view.contentType.empty() ? mimeTypeOf(file->second.path)
                                                 : file->second.view.contentType;
    return DSMCC_OK;
}

unsigned int FileRequests::read(void* id, char** bytes, unsigned int* count)
{
    const auto file = open_.find(id);
    if (file == open_.end())
        return DSMCC_UNKNOWN_ID;
    const FileView& view = file->second.view;
    size_t& position = file->second.position;
    const size_t length = std::min(readBytes, view.size - position);
    // The interface has no const; the application manager only reads.
    *bytes =
        length ? const_cast<char*>(reinterpret_cast<const char*>(view.data + position)) : nullptr;
    *count = static_cast<unsigned int>(length);
    position += length;
    return DSMCC_OK;
}

void FileRequests::lookForPending(size_t most, const Look& look)
{
    toLookFor_ = std::min(toLookFor_, pending_.size());
    const bool isForAll = toLookFor_ <= most && toLookFor_ == pending_.size();
    auto entry = isForAll ? pending_.begin() : pending_.upper_bound(lastLookedFor_);
    for (size_t count = std::min(toLookFor_, most); count > 0; --count) {
        if (entry == pending_.end())
            entry = pending_.begin();
        lastLookedFor_ = entry->first;
        const bool isAnswered = look(entry->first, entry->second);
        entry = isAnswered ? pending_.erase(entry) : std::next(entry);
        --toLookFor_;
    }
}

std::vector<std::string> FileRequests::pendingNames() const
{
    std::vector<std::string> names;
    names.reserve(pending_.size());
    for (const auto& entry : pending_)
        names.push_back(entry.second.name);
    return names;
}

std::map<void*, FileRequests::PendingFile> FileRequests::takePending()
{
    return std::exchange(pending_, {});
}

}  // namespace receiver
