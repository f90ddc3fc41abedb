/// The files of carousels that the application manager asked for.
#ifndef VESTA_RECEIVER_CAROUSEL_FILE_REQUESTS_H
#define VESTA_RECEIVER_CAROUSEL_FILE_REQUESTS_H

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "receiver/carousel/carousel_path.h"
#include "receiver/carousel/object_carousel.h"

namespace receiver {

/// Pending until they have come, open until they are closed. An id that is used again names the new
/// file alone. Not safe between threads.
class FileRequests {
public:
    struct PendingFile {
        CarouselPath path;
        std::string name;  ///< as it was asked for
    };

    void open(void* id, const std::string& path, const FileView& view);
    void wait(void* id, const PendingFile& file);

    /// @return whether there was such a file, be it open or pending
    bool forget(void* id);

    /// @name Of open files; results are DSMCC_RESULT
    /// @{
    unsigned int mimeType(void* id, std::string& type) const;
    /// The next bytes, valid until the file is forgotten.
    unsigned int read(void* id, char** bytes, unsigned int* count);
    /// @}

    /// Something new has come: every pending file is worth a look.
    void lookAgain() { toLookFor_ = pending_.size(); }

    /// @return whether the file has been answered, and is pending no more; it may be opened
    using Look = std::function<bool(void* id, const PendingFile& file)>;
    /// Looks for pending files, each once after lookAgain().
    /// @param most so many at most; the next call goes on after them
    void lookForPending(size_t most, const Look& look);

    /// @return as they were asked for
    std::vector<std::string> pendingNames() const;

    /// @return all that are pending, which nobody waits for from here on
    std::map<void*, PendingFile> takePending();

private:
    struct OpenFile {
        std::string path;
        FileView view;
        size_t position = 0;
    };

    std::map<void*, PendingFile> pending_;
    size_t toLookFor_ = 0;           // so many of them, since something new came
    void* lastLookedFor_ = nullptr;  // the next one has its turn
    std::map<void*, OpenFile> open_;
};

}  // namespace receiver

#endif
