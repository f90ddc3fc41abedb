/// What is lent to the library for the time of a call.
#ifndef VESTA_REPLAY_ARENA_H
#define VESTA_REPLAY_ARENA_H

#include <deque>
#include <memory>
#include <string>

namespace replay {

class Arena {
public:
    const char* keep(const std::string& text)
    {
        texts_.push_back(text);
        return texts_.back().c_str();
    }

    /// A record, all zero.
    template <typename Record>
    Record* make()
    {
        const auto record = std::make_shared<Record>();
        records_.push_back(record);
        return record.get();
    }

    void clear()
    {
        texts_.clear();
        records_.clear();
    }

private:
    std::deque<std::string> texts_;
    std::deque<std::shared_ptr<void>> records_;
};

}  // namespace replay

#endif
