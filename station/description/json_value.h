/// JSON whose values know their lines.
#ifndef VESTA_STATION_DESCRIPTION_JSON_VALUE_H
#define VESTA_STATION_DESCRIPTION_JSON_VALUE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "station/description/place.h"

namespace station {

struct JsonMember;

struct JsonValue {
    enum class Kind { Null, Flag, Integer, Fraction, Text, List, Object };

    Kind kind = Kind::Null;
    unsigned line = 0;
    bool flag = false;
    int64_t integer = 0;
    double fraction = 0;              ///< of an integer, too
    std::string text;                 ///< UTF-8
    std::vector<JsonValue> items;     ///< of a list
    std::vector<JsonMember> members;  ///< of an object, in order; keys may come twice
};

struct JsonMember {
    std::string key;
    unsigned line = 0;  ///< of the key
    JsonValue value;
};

JsonValue emptyObject();

/// @return nothing when it is no JSON: then there is a problem more
std::optional<JsonValue> parseJson(const std::string& text, Problems& problems);

}  // namespace station

#endif
