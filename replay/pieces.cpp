#include "replay/pieces.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace replay {

void Pieces::begin(const Body& body)
{
    if (!body.bytes.empty())
        rests_.push_back({&body, 0});
}

bool Pieces::goOnWith(const void* bytes, size_t length)
{
    const std::string_view piece(static_cast<const char*>(bytes), length);
    const auto found = std::find_if(rests_.rbegin(), rests_.rend(), [piece](const Rest& rest) {
        return rest.body->bytes.compare(rest.place, piece.size(), piece) == 0;
    });
    if (found == rests_.rend())
        return false;
    found->place += length;
    if (found->place == found->body->bytes.size())
        rests_.erase(std::next(found).base());
    return true;
}

}  // namespace replay
