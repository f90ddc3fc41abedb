/// A call on its way across the library's boundary and back.
#ifndef VESTA_RECORDER_CROSSING_H
#define VESTA_RECORDER_CROSSING_H

#include <type_traits>
#include <utility>

#include "recorder/plugin_listeners.h"
#include "recorder/recorder.h"

namespace recorder {

/// Whether the bytes that the platform gave last are the same after the call has begun.
template <typename Call>
constexpr bool keepsBytes =
    std::is_same_v<Call, ProtocolWrite> || std::is_same_v<Call, ProtocolSetMimeType>;

/// The lines of one call: it begins with its life, and ends with it, as one that an exception left
/// unless it was said that it returned.
template <typename Call>
class Lines {
public:
    Lines(Call& call, Direction direction, Moment moment)
        : call_(call), number_(Recorder::instance().begin(direction, Call::name, keepsBytes<Call>,
                                                          moment, &call, ask))
    {
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;
    ~Lines()
    {
        if (hasReturned_)
            Recorder::instance().end(number_, &call_, answer);
        else
            Recorder::instance().endByException(number_);
    }

    void returned() { hasReturned_ = true; }

private:
    static void ask(void* call, Writer* fields, StartingState& state)
    {
        if (fields)
            static_cast<Call*>(call)->asked(*fields);
        state.asked(*static_cast<Call*>(call));
    }
    static void answer(void* call, Writer* fields, StartingState& state)
    {
        if (fields)
            static_cast<Call*>(call)->answered(*fields);
        state.answered(*static_cast<Call*>(call));
    }

    Call& call_;
    const uint64_t number_;
    bool hasReturned_ = false;
};

/// A tick has lines only if something comes of it.
template <>
class Lines<Tick> {
public:
    Lines(Tick& call, Direction, Moment) : call_(call) { Recorder::instance().beginTick(&number_); }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;
    ~Lines()
    {
        if (hasReturned_)
            Recorder::instance().endTick(&number_, call_.result);
        else
            Recorder::instance().endTickByException(&number_);
    }

    void returned() { hasReturned_ = true; }

private:
    Tick& call_;
    uint64_t number_ = 0;
    bool hasReturned_ = false;
};

/// The thread is on one side of the boundary for the life of this, and then again on the other.
class Side {
public:
    explicit Side(bool isInsideLibrary) : thread_(thisThread()), former_(thread_.isInsideLibrary)
    {
        change(isInsideLibrary);
    }
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;
    ~Side() { change(former_); }

private:
    void change(bool isInsideLibrary)
    {
        thread_.isInsideLibrary = isInsideLibrary;
        if (isInsideLibrary)
            PluginListeners::listen();
        else
            PluginListeners::giveBack();
    }

    Thread& thread_;
    const bool former_;
};

/// @param make makes the call and keeps its result in `call`
template <typename Call, typename Make>
void cross(Call& call, Direction direction, const Make& make)
{
    if (direction == Direction::in)
        PluginListeners::recordChanges();
    Lines<Call> lines(call, direction, Moment::now());
    const Side side(direction == Direction::in);
    make();
    if (direction == Direction::out)
        PluginListeners::recordChanges();
    lines.returned();
}

template <typename Call, typename Make>
void callOut(Call& call, const Make& make)
{
    if (Recorder::isOn())
        cross(call, Direction::out, make);
    else
        make();
}

}  // namespace recorder

#endif
