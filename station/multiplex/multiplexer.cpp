#include "station/multiplex/multiplexer.h"

#include <deque>
#include <map>
#include <utility>

namespace station {

namespace {

constexpr uint64_t ticksPerMs = clockFrequency / 1'000;

/// When a packet of the stream begins, without rounding errors that grow.
class SlotClock {
public:
    explicit SlotClock(int64_t bitrate) : bitrate_(static_cast<uint64_t>(bitrate)) {}

    uint64_t ticks() const { return ticks_; }
    int64_t ms() const { return static_cast<int64_t>(ticks_ / ticksPerMs); }

    void next()
    {
        rest_ += packetSize * 8 * clockFrequency;
        ticks_ += rest_ / bitrate_;
        rest_ %= bitrate_;
    }

private:
    uint64_t bitrate_;
    uint64_t ticks_ = 0;
    uint64_t rest_ = 0;  // of a tick, in parts of the bitrate
};

/// The sections of a PID, one after the other.
class Lane {
public:
    explicit Lane(unsigned pid) : maker_(pid) {}

    /// How many packets the section takes if it is added now.
    size_t packetsWith(const Bytes& section) const { return packetsFor(section, isNew_); }

    void add(Bytes section)
    {
        isNew_ = false;
        waiting_.push_back(std::move(section));
    }

    /// There has to be a section.
    Packet next()
    {
        const Packet packet = maker_.section(waiting_.front(), at_);
        if (at_ == waiting_.front().size()) {
            waiting_.pop_front();
            at_ = 0;
        }
        return packet;
    }

private:
    PacketMaker maker_;
    std::deque<Bytes> waiting_;
    size_t at_ = 0;  // of the first one
    bool isNew_ = true;
};

/// A carousel's place in its cycle.
class Wheel {
public:
    explicit Wheel(const Rotation& rotation) : rotation_(rotation) {}

    unsigned pid() const { return rotation_.pid; }

    /// Whether the next section may come: a cycle of a certain length spreads them evenly.
    bool isDue(int64_t ms) const
    {
        const auto count = static_cast<int64_t>(rotation_.sections.size());
        const auto turn = static_cast<int64_t>(turns_);
        return count != 0 &&
               turn / count * rotation_.cycleMs + turn % count * rotation_.cycleMs / count <= ms;
    }

    const Bytes& section() const { return rotation_.sections[turns_ % rotation_.sections.size()]; }

    void advance(int64_t endMs)
    {
        ++turns_;
        if (turns_ == rotation_.sections.size())
            firstCycle_ = endMs;
    }

    RotationReport report() const
    {
        return {rotation_.title, rotation_.place, rotation_.files, rotation_.modules, firstCycle_};
    }

private:
    const Rotation& rotation_;
    size_t turns_ = 0;
    std::optional<int64_t> firstCycle_;
};

class Multiplexer {
public:
    explicit Multiplexer(const Schedule& schedule)
        : schedule_(schedule), clock_(schedule.bitrate), tableTurns_(schedule.tables.size(), 0),
          slotsLeft_(static_cast<uint64_t>(schedule.bitrate) *
                     static_cast<uint64_t>(schedule.durationMs) / 1'000 / (packetSize * 8))
    {
        for (const unsigned pid : schedule.clockPids)
            clocks_.emplace_back(pid);
        clockTurns_.resize(clocks_.size(), 0);
        for (const Rotation& rotation : schedule.rotations)
            wheels_.emplace_back(rotation);
    }

    StreamReport run(const std::function<void(const Packet&)>& write)
    {
        for (; slotsLeft_ > 0; --slotsLeft_) {
            write(next());
            ++report_.packets;
            clock_.next();
        }
        for (const Wheel& wheel : wheels_)
            report_.rotations.push_back(wheel.report());
        return std::move(report_);
    }

private:
    Packet next()
    {
        for (size_t i = 0; i < clocks_.size(); ++i) {
            if (clockTurns_[i] * clockIntervalMs <= clock_.ms()) {
                ++clockTurns_[i];
                return clocks_[i].clock(clock_.ticks());
            }
        }
        queueTables();
        queueTimed();
        if (queue_.empty())
            queueRotation();
        if (queue_.empty()) {
            ++report_.nullPackets;
            return nullPacket();
        }
        const unsigned pid = queue_.front();
        queue_.pop_front();
        return lanes_.at(pid).next();
    }

    void queueTables()
    {
        for (size_t i = 0; i < schedule_.tables.size(); ++i) {
            const RepeatedTable& table = schedule_.tables[i];
            if (tableTurns_[i] * table.intervalMs > clock_.ms())
                continue;
            ++tableTurns_[i];
            for (const Bytes& section : table.sections(clock_.ms()))
                queue(table.pid, section);
        }
    }

    void queueTimed()
    {
        for (; timedAt_ < schedule_.timed.size(); ++timedAt_) {
            const TimedSection& timed = schedule_.timed[timedAt_];
            if (timed.timeMs > clock_.ms())
                return;
            queue(timed.pid, timed.section);
        }
    }

    /// The carousels take turns, a section each.
    void queueRotation()
    {
        for (size_t tried = 0; tried < wheels_.size(); ++tried) {
            Wheel& wheel = wheels_[nextWheel_];
            nextWheel_ = (nextWheel_ + 1) % wheels_.size();
            if (!wheel.isDue(clock_.ms()) || !queue(wheel.pid(), wheel.section()))
                continue;
            wheel.advance(clock_.ms() + durationMs(queue_.size()));
            return;
        }
    }

    int64_t durationMs(size_t packets) const
    {
        return static_cast<int64_t>(packets * packetSize * 8) * 1'000 / schedule_.bitrate;
    }

    /// @return false when the stream would end before the section
    bool queue(unsigned pid, const Bytes& section)
    {
        Lane& lane = lanes_.try_emplace(pid, pid).first->second;
        const size_t packets = lane.packetsWith(section);
        const uint64_t ahead = queue_.size() + packets;
        if (ahead + clocksWithin(ahead) > slotsLeft_)
            return false;
        lane.add(section);
        queue_.insert(queue_.end(), packets, pid);
        return true;
    }

    /// No fewer clock packets than come between so many others.
    uint64_t clocksWithin(uint64_t packets) const
    {
        const uint64_t clocks = clocks_.size();
        const uint64_t slots =
            static_cast<uint64_t>(schedule_.bitrate * clockIntervalMs) / 1'000 / (packetSize * 8);
        const uint64_t others = slots > clocks ? slots - clocks : 1;
        return clocks * (packets / others + 2);
    }

    const Schedule& schedule_;
    SlotClock clock_;
    std::vector<int64_t> tableTurns_;
    uint64_t slotsLeft_;  // the one that is filled included
    std::vector<PacketMaker> clocks_;
    std::vector<int64_t> clockTurns_;
    std::vector<Wheel> wheels_;
    size_t nextWheel_ = 0;
    size_t timedAt_ = 0;
    std::map<unsigned, Lane> lanes_;
    std::deque<unsigned> queue_;  // whose packet is next
    StreamReport report_;
};

}  // namespace

StreamReport multiplex(const Schedule& schedule, const std::function<void(const Packet&)>& write)
{
    return Multiplexer(schedule).run(write);
}

}  // namespace station
