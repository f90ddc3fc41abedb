#include "replay/expecting_stand.h"

#include <algorithm>

namespace replay {

void ExpectingStand::expect(const Json& members)
{
    expected_.clear();
    collect(members);
}

void ExpectingStand::collect(const Json& json)
{
    for (const auto& [member, value] : json.items()) {
        if (value.is_string())
            expected_[member].push_back(value.get<std::string>());
        else if (value.is_structured())
            collect(value);
    }
}

std::string ExpectingStand::nextOf(const char* member)
{
    std::deque<std::string>& texts = expected_[member];
    if (texts.empty())
        return "";
    std::string next = std::move(texts.front());
    texts.pop_front();
    return next;
}

std::string ExpectingStand::nameOf(const char* member, recorder::Handle kind, uintptr_t value,
                                   bool isNew)
{
    return meaning_.names.nameFor(kind, value, isNew, nextOf(member));
}

std::string ExpectingStand::hashOf(const void* bytes, size_t length)
{
    std::string expected = nextOf("sha256");
    const Body* const body = meaning_.bodies.find(expected);
    // Where bytes were left out nobody knows those of a piece: that it goes on where the one before
    // it ended says as much.
    const bool goesOn = meaning_.pieces.goOnWith(bytes, length);
    if (goesOn && body && body->isLeftOut && body->bytes.size() == length)
        return expected;
    return meaning_.bodies.hashOf(bytes, length);
}

std::string ExpectingStand::urlFor(const char* member, std::string_view url)
{
    return written(member, url, recorder::partsOfUrl);
}

std::string ExpectingStand::textFor(const char* member, std::string_view text)
{
    return written(member, text, recorder::partsOfText);
}

std::string ExpectingStand::written(const char* member, std::string_view text,
                                    recorder::PartsOf partsOf)
{
    const auto expected = bytesOf(nextOf(member));
    return leavesOutQueries_ && expected ? meaning_.queries.written(text, *expected, partsOf)
                                         : std::string(text);
}

bool agrees(const Json& library, const Json& record)
{
    if (library.is_object() && record.is_object())
        return std::all_of(library.items().begin(), library.items().end(), [&](const auto& each) {
            const auto found = record.find(each.key());
            return found != record.end() && agrees(each.value(), *found);
        });
    if (library.is_array() && record.is_array())
        return std::equal(library.begin(), library.end(), record.begin(), record.end(), agrees);
    return library == record;
}

}  // namespace replay
