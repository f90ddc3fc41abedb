#include "station/description/json_value.h"

#include <cstddef>
#include <iterator>
#include <nlohmann/json.hpp>

namespace station {

namespace {

using nlohmann::json;

constexpr size_t deepest = 64;

/// Which line the parser is in.
struct LineCount {
    unsigned next = 1;     ///< of the character that is read next
    unsigned current = 1;  ///< of the last one that was no line break
};

/// Counts the lines that it passes. The parser reads at most one character beyond a value: that is
/// a line break, which does not count yet, or stands in the value's line.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, LineCount* lines) : at_(at), lines_(lines) {}

    reference operator*() const { return *at_; }
    CountingIterator& operator++()
    {
        if (*at_++ == '\n')
            ++lines_->next;
        else
            lines_->current = lines_->next;
        return *this;
    }
    bool operator==(const CountingIterator& other) const { return at_ == other.at_; }
    bool operator!=(const CountingIterator& other) const { return at_ != other.at_; }

private:
    const char* at_;
    LineCount* lines_;
};

/// Puts the values together as the parser reports them.
class ValueBuilder : public nlohmann::json_sax<json> {
public:
    ValueBuilder(const LineCount& lines, Problems& problems) : lines_(lines), problems_(problems) {}

    JsonValue take() { return std::move(root_); }

    bool null() override { return add(value(JsonValue::Kind::Null)); }
    bool boolean(bool flag) override
    {
        JsonValue news = value(JsonValue::Kind::Flag);
        news.flag = flag;
        return add(std::move(news));
    }
    bool number_integer(number_integer_t number) override
    {
        JsonValue news = value(JsonValue::Kind::Integer);
        news.integer = number;
        news.fraction = static_cast<double>(number);
        return add(std::move(news));
    }
    bool number_unsigned(number_unsigned_t number) override
    {
        if (number <= INT64_MAX)
            return number_integer(static_cast<number_integer_t>(number));
        return number_float(static_cast<double>(number), "");
    }
    bool number_float(number_float_t number, const string_t& /*text*/) override
    {
        JsonValue news = value(JsonValue::Kind::Fraction);
        news.fraction = number;
        return add(std::move(news));
    }
    bool string(string_t& text) override
    {
        JsonValue news = value(JsonValue::Kind::Text);
        news.text = text;
        return add(std::move(news));
    }
    bool binary(binary_t& /*bytes*/) override { return false; }  // JSON has none
    bool start_object(size_t /*members*/) override { return open(JsonValue::Kind::Object); }
    bool end_object() override { return close(); }
    bool start_array(size_t /*items*/) override { return open(JsonValue::Kind::List); }
    bool end_array() override { return close(); }
    bool key(string_t& name) override
    {
        open_.back()->members.push_back({name, lines_.current, {}});
        return true;
    }
    bool parse_error(size_t /*position*/, const std::string& token,
                     const nlohmann::detail::exception& /*problem*/) override
    {
        return fail("no JSON: \"" + token + "\" was not expected");
    }

private:
    JsonValue value(JsonValue::Kind kind) const
    {
        JsonValue news;
        news.kind = kind;
        news.line = lines_.current;
        return news;
    }

    /// Where the value that comes next belongs.
    JsonValue& place()
    {
        if (open_.empty())
            return root_;
        JsonValue& parent = *open_.back();
        return parent.kind == JsonValue::Kind::List ? parent.items.emplace_back()
                                                    : parent.members.back().value;
    }

    bool add(JsonValue news)
    {
        place() = std::move(news);
        return true;
    }

    bool open(JsonValue::Kind kind)
    {
        if (open_.size() == deepest)
            return fail("more than " + std::to_string(deepest) + " levels");
        JsonValue& news = place();
        news = value(kind);
        open_.push_back(&news);
        return true;
    }

    bool close()
    {
        open_.pop_back();
        return true;
    }

    bool fail(const std::string& message)
    {
        problems_.push_back({{lines_.current, ""}, message});
        return false;
    }

    const LineCount& lines_;
    Problems& problems_;
    JsonValue root_;
    // The containers around: a parent does not grow while a child of it is open.
    std::vector<JsonValue*> open_;
};

}  // namespace

JsonValue emptyObject()
{
    JsonValue value;
    value.kind = JsonValue::Kind::Object;
    return value;
}

std::optional<JsonValue> parseJson(const std::string& text, Problems& problems)
{
    LineCount lines;
    ValueBuilder builder(lines, problems);
    const char* const begin = text.data();
    const CountingIterator first(begin, &lines);
    const CountingIterator last(begin + text.size(), &lines);
    if (!json::sax_parse(first, last, &builder))
        return std::nullopt;
    return builder.take();
}

}  // namespace station
