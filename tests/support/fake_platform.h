/// A receiver's platform: its definitions of the hooks replace the library's defaults, write every
/// call to the journal and answer as they are told.
#ifndef VESTA_TESTS_SUPPORT_FAKE_PLATFORM_H
#define VESTA_TESTS_SUPPORT_FAKE_PLATFORM_H

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vesta::test {

/// The one platform of a test program; reset() between tests.
class FakePlatform {
public:
    static FakePlatform& instance();

    void reset();

    /// A file of the carousel, by the path that the library asks for.
    struct File {
        std::string bytes;
        unsigned int getFileResult = 0;
        unsigned int mimeTypeResult = 0;
        std::optional<std::string> mimeType;
        size_t readSize = 0;                     ///< bytes a read gives; 0: the whole file at once
        std::optional<unsigned int> readResult;  ///< of every read
        size_t failReadAfter = static_cast<size_t>(-1);  ///< bytes after which reading fails
        bool endsUntouched = false;  ///< the read at the end leaves buffer and length alone
        bool lendsNothing = false;   ///< reads give a length, and no buffer
    };
    std::map<std::string, File> files;

    /// What the terminal's key sets are.
    int supportedKeySets = 0x3FF;

    /// What dsmcc_* hooks answer that are not about files, by name; 0 when not given.
    std::map<std::string, unsigned int> results;

    /// Called inside the hook of that name, after it was written to the journal (the question for
    /// key sets is not written there).
    std::map<std::string, std::function<void()>> whileIn;

    bool journalling = true;

    /// A file that was asked for and not closed since; by the id of its load.
    struct OpenFile {
        std::string path;
        size_t position = 0;
        std::unique_ptr<char[]> lent;  ///< what the latest read gave, until the next one
    };
    std::map<void*, OpenFile> open;

    /// Whether each read lends a block of its own; benchmarks do not pay for copies.
    bool copiesReads = true;

    /// The loads that the file hooks named, one entry a call.
    std::vector<void*> ids;

    /// Whether every dsmcc_read() found a null buffer and the length 0.
    bool readsBeginEmpty = true;

    unsigned int call(const char* hook, const std::string& line);
    unsigned int callForLoad(const char* hook, void* id, const std::string& line);
    unsigned int answer(const char* hook);
    File* fileOf(void* id);
};

}  // namespace vesta::test

#endif
