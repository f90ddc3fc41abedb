/// The file that a record is written into.
#ifndef VESTA_RECORDER_RECORD_FILE_H
#define VESTA_RECORDER_RECORD_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace recorder {

/// Says on the standard error output what became of the record.
void complain(std::string_view sentence);

/// Takes whole lines, each of which is in the file as soon as it was written.
///
/// With a limit the record is in up to two parts: its file, and "FILE.before", which holds what was
/// recorded before and is removed as soon as both together would be larger than the limit. A new
/// part begins as "FILE.part", so that a crash in between leaves at least one that is whole.
/// A file that is full takes no lines until a new part begins: beside it, or in its place where
/// there is no room for both.
class RecordFile {
public:
    RecordFile() = default;
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;
    ~RecordFile();

    /// @param limit in bytes, of all parts together
    /// @return false where the file cannot be written, which has been said then
    bool open(const std::string& path, uint64_t limit);

    /// False from the first line on that could not be written. That has been said then.
    bool isOpen() const { return descriptor_ >= 0; }

    /// Writes two texts of whole lines, one after the other, with one call of the system.
    void write(std::string_view first, std::string_view second);

    /// Ends the record.
    /// @param why a sentence that is said
    void giveUp(std::string_view why);

    /// Whether the limit was reached, so that lines are dropped.
    bool isFull() const { return isFull_; }

    /// Whether half the limit is used, so that a new part should begin as soon as it can.
    bool wantsNewPart() const { return isOpen() && isRegular_ && (isFull_ || size_ > limit_ / 2); }

    /// @param lines what the new part begins with
    /// @return false where it cannot begin: then all is as it was
    bool beginNewPart(std::string_view lines);

private:
    bool hasRoomFor(uint64_t bytes);
    void becomeFull();
    bool fitsIntoAPart(uint64_t bytes);
    bool beginBeside(std::string_view lines);
    bool beginInPlace(std::string_view lines);
    void becomeNewest(uint64_t bytes);
    void forgetPartBefore();
    void fail();

    std::string path_;
    uint64_t limit_ = UINT64_MAX;
    uint64_t largestFile_ = UINT64_MAX;  // that the system lets the process write
    uint64_t size_ = 0;
    uint64_t sizeBefore_ = 0;  // of the part before; 0: there is none
    int descriptor_ = -1;
    bool isRegular_ = false;
    bool isFull_ = false;
    bool saidThatItIsFull_ = false;
    bool saidThatNoPartFits_ = false;
};

}  // namespace recorder

#endif
