#include "station/description/object_reader.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace station {

namespace {

std::string pathOf(const Place& parent, const std::string& key)
{
    return parent.path.empty() ? key : parent.path + "." + key;
}

/// "0x1F4", of at most eight digits.
std::optional<int64_t> parseHexadecimal(const std::string& text)
{
    constexpr size_t mostDigits = 8;
    const bool hasPrefix = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (!hasPrefix || text.size() > 2 + mostDigits ||
        !std::all_of(text.begin() + 2, text.end(), [](char digit) {
            return std::isxdigit(static_cast<unsigned char>(digit)) != 0;
        }))
        return std::nullopt;
    return std::stoll(text.substr(2), nullptr, 16);
}

std::optional<int64_t> integerOf(const JsonValue& value)
{
    if (value.kind == JsonValue::Kind::Integer)
        return value.integer;
    return value.kind == JsonValue::Kind::Text ? parseHexadecimal(value.text) : std::nullopt;
}

std::string rangeText(Range range)
{
    return "expected a whole number from " + std::to_string(range.least) + " to " +
           std::to_string(range.most);
}

bool isLanguage(const std::string& text)
{
    return text.size() == 3 && std::all_of(text.begin(), text.end(), [](char letter) {
               return letter >= 'a' && letter <= 'z';
           });
}

}  // namespace

ObjectReader::ObjectReader(const JsonValue& value, Place place, Problems& problems)
    : value_(value), place_(std::move(place)), problems_(problems)
{
    if (!isObject())
        problems_.push_back({place_, "expected an object"});
}

ObjectReader::~ObjectReader()
{
    std::set<std::string> seen;
    for (const JsonMember& member : value_.members) {
        if (known_.count(member.key) == 0)
            problems_.push_back({{member.line, pathOf(place_, member.key)}, "unknown key"});
        else if (!seen.insert(member.key).second)
            problems_.push_back({{member.line, pathOf(place_, member.key)}, "it comes twice"});
    }
}

const JsonValue* ObjectReader::find(const std::string& key, bool isNeeded)
{
    known_.insert(key);
    for (const JsonMember& member : value_.members) {
        if (member.key == key)
            return &member.value;
    }
    if (isNeeded && isObject())
        problems_.push_back({{place_.line, pathOf(place_, key)}, "it is missing"});
    return nullptr;
}

bool ObjectReader::has(const std::string& key) const
{
    return std::any_of(value_.members.begin(), value_.members.end(),
                       [&key](const JsonMember& member) { return member.key == key; });
}

Place ObjectReader::placeOf(const std::string& key) const
{
    for (const JsonMember& member : value_.members) {
        if (member.key == key)
            return {member.value.line, pathOf(place_, key)};
    }
    return {place_.line, pathOf(place_, key)};
}

void ObjectReader::complain(const std::string& key, const std::string& message)
{
    problems_.push_back({placeOf(key), message});
}

int64_t ObjectReader::integer(const std::string& key, Range range, std::optional<int64_t> otherwise)
{
    const JsonValue* const value = find(key, !otherwise);
    if (!value)
        return otherwise.value_or(range.least);
    const std::optional<int64_t> number = integerOf(*value);
    if (number && *number >= range.least && *number <= range.most)
        return *number;
    complain(key, rangeText(range));
    return range.least;
}

unsigned ObjectReader::number(const std::string& key, Range range,
                              std::optional<unsigned> otherwise)
{
    const std::optional<int64_t> fallback =
        otherwise ? std::optional<int64_t>(*otherwise) : std::nullopt;
    return static_cast<unsigned>(integer(key, range, fallback));
}

int64_t ObjectReader::milliseconds(const std::string& key, Range range,
                                   std::optional<int64_t> otherwise)
{
    const JsonValue* const value = find(key, !otherwise);
    if (!value)
        return otherwise.value_or(range.least);
    const bool isNumber =
        value->kind == JsonValue::Kind::Integer || value->kind == JsonValue::Kind::Fraction;
    const double seconds = value->fraction;
    if (isNumber && seconds >= static_cast<double>(range.least) / 1000 &&
        seconds <= static_cast<double>(range.most) / 1000)
        return std::llround(seconds * 1000);
    complain(key, "expected a number of seconds from " + std::to_string(range.least / 1000) +
                      " to " + std::to_string(range.most / 1000));
    return range.least;
}

std::string ObjectReader::text(const std::string& key, std::optional<std::string> otherwise)
{
    const JsonValue* const value = find(key, !otherwise);
    if (!value)
        return otherwise.value_or("");
    if (value->kind == JsonValue::Kind::Text)
        return value->text;
    complain(key, "expected a text");
    return "";
}

bool ObjectReader::flag(const std::string& key, bool otherwise)
{
    const JsonValue* const value = find(key, false);
    if (!value)
        return otherwise;
    if (value->kind == JsonValue::Kind::Flag)
        return value->flag;
    complain(key, "expected true or false");
    return otherwise;
}

unsigned ObjectReader::choice(const std::string& key, const Choices& choices, const char* otherwise)
{
    const JsonValue* const value = find(key, !otherwise);
    const std::string word = value ? value->text : otherwise ? otherwise : "";
    std::string words;
    for (const auto& [name, meaning] : choices) {
        if (name == word)
            return meaning;
        words += (words.empty() ? "" : ", ") + std::string(name);
    }
    if (value)
        complain(key, "expected one of " + words);
    return choices.front().second;
}

std::string ObjectReader::language(const std::string& key, std::optional<std::string> otherwise)
{
    std::string word = text(key, std::move(otherwise));
    if (!has(key) || isLanguage(word))
        return word;
    complain(key, "expected a language of three small letters, as \"eng\"");
    return "und";
}

void ObjectReader::object(const std::string& key, const ObjectVisitor& visit)
{
    const JsonValue* const value = find(key, true);
    if (!value)
        return;
    ObjectReader reader(*value, placeOf(key), problems_);
    visit(reader);
}

void ObjectReader::objects(const std::string& key, const ObjectVisitor& visit)
{
    items(key, [this, &visit](const JsonValue& value, const Place& place) {
        ObjectReader reader(value, place, problems_);
        visit(reader);
    });
}

void ObjectReader::items(const std::string& key, const ValueVisitor& visit)
{
    const JsonValue* const value = find(key, false);
    if (!value)
        return;
    if (value->kind != JsonValue::Kind::List)
        return complain(key, "expected a list");
    for (size_t i = 0; i < value->items.size(); ++i) {
        const JsonValue& item = value->items[i];
        visit(item, {item.line, pathOf(place_, key) + "[" + std::to_string(i) + "]"});
    }
}

}  // namespace station
