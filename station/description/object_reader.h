/// Reads the members of a JSON object and finds what is wrong with them.
#ifndef VESTA_STATION_DESCRIPTION_OBJECT_READER_H
#define VESTA_STATION_DESCRIPTION_OBJECT_READER_H

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "station/description/json_value.h"
#include "station/description/place.h"

namespace station {

/// The numbers that a key can have.
struct Range {
    int64_t least = 0;
    int64_t most = 0;
};

/// Words and what they mean.
using Choices = std::vector<std::pair<const char*, unsigned>>;

/// Each question for a key answers with a value that can be used; what is wrong with the key is a
/// problem more. Once it goes away, a key that was not asked for is a problem, too.
class ObjectReader {
public:
    /// @param value borrowed, as the problems are, for the reader's life. One that is no object is
    /// a
    ///        problem, and as good as an empty one.
    ObjectReader(const JsonValue& value, Place place, Problems& problems);
    ~ObjectReader();
    ObjectReader(const ObjectReader&) = delete;
    ObjectReader& operator=(const ObjectReader&) = delete;

    bool has(const std::string& key) const;

    /// A whole number, or a text such as "0x1F4". @param otherwise for a key that is not there;
    ///        nothing: the key must be there
    int64_t integer(const std::string& key, Range range, std::optional<int64_t> otherwise = {});
    unsigned number(const std::string& key, Range range, std::optional<unsigned> otherwise = {});
    /// A number of seconds, in milliseconds; fractions count.
    int64_t milliseconds(const std::string& key, Range range,
                         std::optional<int64_t> otherwise = {});
    std::string text(const std::string& key, std::optional<std::string> otherwise = {});
    bool flag(const std::string& key, bool otherwise);
    /// One of the words. @param otherwise a word
    unsigned choice(const std::string& key, const Choices& choices,
                    const char* otherwise = nullptr);
    /// A language of three letters (ISO 639-2).
    std::string language(const std::string& key, std::optional<std::string> otherwise = {});

    using ObjectVisitor = std::function<void(ObjectReader& object)>;
    void object(const std::string& key, const ObjectVisitor& visit);
    /// A list of objects; one that is not there is empty.
    void objects(const std::string& key, const ObjectVisitor& visit);
    using ValueVisitor = std::function<void(const JsonValue& value, const Place& place)>;
    /// A list of anything; one that is not there is empty.
    void items(const std::string& key, const ValueVisitor& visit);

    const Place& place() const { return place_; }
    /// Where the key is, or the object, when it has none.
    Place placeOf(const std::string& key) const;
    void complain(const std::string& key, const std::string& message);
    Problems& problems() { return problems_; }

private:
    bool isObject() const { return value_.kind == JsonValue::Kind::Object; }
    /// @return null when the key is not there: then it is a problem, if it has to be
    const JsonValue* find(const std::string& key, bool isNeeded);

    const JsonValue& value_;
    Place place_;
    Problems& problems_;
    std::set<std::string> known_;
};

}  // namespace station

#endif
