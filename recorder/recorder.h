/// The record of this process: who calls whom, line after line.
#ifndef VESTA_RECORDER_RECORDER_H
#define VESTA_RECORDER_RECORDER_H

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "recorder/boundary/writer.h"
#include "recorder/left_out_queries.h"
#include "recorder/names.h"
#include "recorder/record_file.h"
#include "recorder/settings.h"
#include "recorder/starting_state.h"

namespace recorder {

/// What the recorder knows of a thread.
struct Thread {
    unsigned number = 0;  ///< in the order in which they came; 0: not yet
    /// Whether the library is running here: then a call is none across its boundary, but the
    /// kit's.
    bool isInsideLibrary = false;
};
Thread& thisThread();

/// When a call was made, and where.
struct Moment {
    int64_t at;  ///< microseconds of a clock that never goes back
    unsigned thread;

    static Moment now();
};

enum class Direction { in, out };

/// An event that was sent where there is no queue.
struct SentToNobody {
    Moment moment;
    std::string says;
};

/// Writes what one side of a call has to say, and lets the state hear of it.
/// @param fields null: nothing is written down
using Say = void (*)(void* call, Writer* fields, StartingState& state);

/// Nothing here throws, calls the library or the program, or keeps a lock when it returns; errno
/// stays what it was. After a line that could not be written the rest is silent.
class Recorder final : private Stand {
public:
    static Recorder& instance();

    /// Whether calls are to be recorded. The first question opens the record.
    static bool isOn()
    {
        const State state = state_.load(std::memory_order_acquire);
        return state == State::on || (state == State::undecided && instance().decide());
    }

    /// Follows what the environment asks if the library is there, and puts the recorder's functions
    /// into its slots. The record is opened only when the library is called, as another
    /// program of the same environment may never do that.
    void prepare();

    /// @param keepsBytes the bytes that the platform gave last cannot be others after this call
    /// @return the call's number; 0 if it is not written down
    uint64_t begin(Direction direction, const char* name, bool keepsBytes, Moment moment,
                   void* call, Say asked);
    void end(uint64_t number, void* call, Say answered);
    void endByException(uint64_t number);

    /// An event that is sent where there is no queue, from any thread. Its lines stand where an
    /// integrator's call can: while the library is running they wait until it calls out or returns.
    /// @param event need not live longer than this call
    void addSent(SendEvent event, Moment moment);

    /// A tick is written down as soon as something happens in it, or at once where something may:
    /// not after one that found nothing to do. @param number set then; stays where it is until the
    /// tick ends
    void beginTick(uint64_t* number);
    void endTick(const uint64_t* number, bool didSomething);
    void endTickByException(const uint64_t* number);

    /// Whether the last tick left the library in a state in which a new part of the record, which
    /// is due, can begin.
    bool isNewPartDue() const { return isNewPartDue_; }

    /// Begins it with what brings a library into the state that it is in.
    /// @param broadcastWindow that the library has
    void beginNewPart(void* broadcastWindow);

    /// Writes down how many ticks found nothing to do at last, and says where the library was there
    /// but went past the recorder.
    void finish();

private:
    enum class State { undecided, off, on };

    Recorder() = default;

    bool decide();
    bool open();
    void appendHead();
    void appendPendingTicks();
    void appendBegin(Direction direction, Moment moment, const char* name);
    void appendEnd(uint64_t number);
    void appendFields(Say say, void* call);
    template <typename Call>
    void appendWhole(Call call, const char* says, Moment moment);
    void appendBody(const std::string& hash, const void* bytes, size_t length, bool isLeftOut);
    void writeLines();
    void writeSent();
    template <typename Write>
    void safely(const Write& write);

    std::string nameOf(const char* member, Handle kind, uintptr_t value, bool isNew) override;
    std::string hashOf(const void* bytes, size_t length) override;
    std::string urlFor(const char* member, std::string_view url) override;
    std::string textFor(const char* member, std::string_view text) override;

    static std::atomic<State> state_;

    std::atomic<int> process_{0};  // that the record is of

    std::mutex mutex_;  // of everything below
    Settings settings_;
    bool isPrepared_ = false;
    RecordFile file_;
    int64_t start_ = 0;
    uint64_t calls_ = 0;
    std::vector<Direction> openCalls_;
    uint64_t idleTicks_ = 0;
    std::vector<SentToNobody> sent_;  // that is not written down yet
    bool isQuiet_ = false;            // what happened last is a tick that found nothing to do
    std::atomic<bool> isNewPartDue_{false};
    bool isNewPartRefused_ = false;  // since nothing happened
    uint64_t* tick_ = nullptr;       // that was not written down yet
    Moment tickMoment_ = {};
    std::string before_;  // lines that come before the one that is being written
    std::string line_;
    Names names_;
    LeftOutQueries queries_;
    std::unordered_map<std::string, bool> bodies_;  // that are in the record; whether left out
    Direction direction_ = Direction::in;           // of the call that is being written
    const void* bytes_ = nullptr;                   // whose hash is bytesHash_
    size_t bytesLength_ = 0;
    std::string bytesHash_;
    StartingState startingState_{*this};
};

}  // namespace recorder

#endif
