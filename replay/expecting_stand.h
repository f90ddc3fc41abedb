/// Writes down what the library says as the record, which is known, would have it.
#ifndef VESTA_REPLAY_EXPECTING_STAND_H
#define VESTA_REPLAY_EXPECTING_STAND_H

#include <deque>
#include <map>
#include <string>

#include "recorder/boundary/writer.h"
#include "replay/reader.h"

namespace replay {

class ExpectingStand : public recorder::Stand {
public:
    /// @param leavesOutQueries whether the record has numbers for queries
    ExpectingStand(Meaning& meaning, bool leavesOutQueries)
        : meaning_(meaning), leavesOutQueries_(leavesOutQueries)
    {
    }

    /// What comes next is to be these members, in their order.
    void expect(const Json& members);

    std::string nameOf(const char* member, recorder::Handle kind, uintptr_t value,
                       bool isNew) override;
    std::string hashOf(const void* bytes, size_t length) override;
    std::string urlFor(const char* member, std::string_view url) override;
    std::string textFor(const char* member, std::string_view text) override;

private:
    void collect(const Json& json);
    std::string nextOf(const char* member);
    std::string written(const char* member, std::string_view text, recorder::PartsOf partsOf);

    Meaning& meaning_;
    bool leavesOutQueries_;
    std::map<std::string, std::deque<std::string>> expected_;  ///< the texts, by their members
};

/// Whether the library said, or brought, the same: what is written in `library`, all of it, stands
/// in the record. The record may know more than this program does.
bool agrees(const Json& library, const Json& record);

}  // namespace replay

#endif
