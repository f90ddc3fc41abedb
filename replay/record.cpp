#include "replay/record.h"

#include <algorithm>
#include <utility>

#include "recorder/boundary/calls_in.h"
#include "recorder/boundary/calls_out.h"
#include "replay/base64.h"

namespace replay {

namespace {

const uint64_t knownVersion = 1;
/// Of brackets in a line, and of calls in each other: more than any program needs.
const size_t deepestBrackets = 32;
const size_t deepestCalls = 200;

template <typename... Calls>
struct Among {
    static bool has(const std::string& name) { return ((name == Calls::name) || ...); }
};

bool isCallIn(const std::string& name)
{
    return recorder::FunctionsIn<Among>::has(name);
}

bool isCallOut(const std::string& name)
{
    using namespace recorder;
    return FunctionsOut<Among>::has(name) ||
           Among<Notify, TellManagerListener, TellDestroyedListener, TellStreamEvent>::has(name);
}

/// Whether the brackets of a text would need a deep stack.
bool nestsTooDeep(const std::string& text)
{
    size_t depth = 0;
    bool isInString = false;
    for (size_t place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (isInString && character == '\\')
            ++place;
        else if (character == '"')
            isInString = !isInString;
        else if (!isInString && (character == '{' || character == '['))
            depth++;
        else if (!isInString && (character == '}' || character == ']') && depth > 0)
            depth--;
        if (depth > deepestBrackets)
            return true;
    }
    return false;
}

/// @return nothing for what is no JSON object
std::optional<Json> parseObject(const std::string& text)
{
    if (nestsTooDeep(text))
        return std::nullopt;
    Json parsed = Json::parse(text, nullptr, false);
    if (!parsed.is_object())
        return std::nullopt;
    return parsed;
}

const Json* memberOf(const Json& object, const char* name)
{
    const auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
}

std::optional<uint64_t> countIn(const Json& object, const char* name)
{
    const Json* const member = memberOf(object, name);
    if (!member || !member->is_number_unsigned())
        return std::nullopt;
    return member->get<uint64_t>();
}

std::optional<std::string> textIn(const Json& object, const char* name)
{
    const Json* const member = memberOf(object, name);
    if (!member || !member->is_string())
        return std::nullopt;
    return member->get<std::string>();
}

/// Puts a record together, line for line.
class Assembly {
public:
    Assembly(Record& record, std::string& problem) : record_(record), problem_(problem) {}

    bool addHead(const Json& head)
    {
        const std::optional<uint64_t> version = countIn(head, "vesta_recording");
        if (!version)
            return fail("this is no record: \"vesta_recording\" is missing");
        if (*version != knownVersion)
            return fail("the record has version " + std::to_string(*version) + ", known is " +
                        std::to_string(knownVersion));
        if (const Json* const leftOut = memberOf(head, "left_out"); leftOut && leftOut->is_array())
            record_.leavesOutQueries =
                std::find(leftOut->begin(), leftOut->end(), "queries") != leftOut->end();
        record_.head = head;
        return true;
    }

    /// @return false where it does not fit
    bool add(const Json& object, size_t number)
    {
        number_ = number;
        Line line;
        line.number = number;
        if (isOver_)
            return fail("the record has ended before this line");
        if (memberOf(object, "in"))
            return addCall(object, "in", std::move(line));
        if (memberOf(object, "out"))
            return addCall(object, "out", std::move(line));
        if (memberOf(object, "end"))
            return addEnd(object, std::move(line));
        if (memberOf(object, "idle"))
            return addIdle(object, std::move(line));
        if (memberOf(object, "body"))
            return addBody(object);
        if (memberOf(object, "state"))
            return addState(object, std::move(line));
        record_.isOfACrash = memberOf(object, "crash") != nullptr;
        record_.isFull = memberOf(object, "full") != nullptr;
        isOver_ = record_.isOfACrash || record_.isFull;
        return true;  // other kinds of lines may come within a version
    }

    bool fail(const std::string& what)
    {
        problem_ = "line " + std::to_string(number_) + ": " + what;
        return false;
    }

    bool isInState() const { return isInState_; }

private:
    /// Whether calls of the integrator, and ticks, may stand here.
    bool isOutsideOfTheLibrary() const
    {
        return record_.open.empty() || record_.lines[record_.open.back()].kind == Line::Kind::Out;
    }

    bool addCall(const Json& object, const char* direction, Line line)
    {
        const bool isIn = *direction == 'i';
        const auto name = textIn(object, direction);
        const auto step = countIn(object, "n");
        const Json* const members = memberOf(object, "with");
        if (!name || !step || !members || !members->is_object())
            return fail("a call needs \"n\", its function's name and \"with\"");
        if (!(isIn ? isCallIn(*name) : isCallOut(*name)))
            return fail("unknown function: " + *name);
        if (*step <= lastStep_)
            return fail("step " + std::to_string(*step) + " follows step " +
                        std::to_string(lastStep_));
        if (isIn && !isOutsideOfTheLibrary())
            return fail("the library itself would call " + *name);
        if (!isIn && isOutsideOfTheLibrary())
            return fail("nobody called the library that calls " + *name);
        if (record_.open.size() == deepestCalls)
            return fail("calls nest deeper than " + std::to_string(deepestCalls));
        lastStep_ = *step;
        line.kind = isIn ? Line::Kind::In : Line::Kind::Out;
        line.step = *step;
        line.name = *name;
        line.members = *members;
        record_.open.push_back(record_.lines.size());
        record_.lines.push_back(std::move(line));
        return true;
    }

    bool addEnd(const Json& object, Line line)
    {
        const auto step = countIn(object, "end");
        if (!step || record_.open.empty() || record_.lines[record_.open.back()].step != *step)
            return fail("this is not the end of the innermost call");
        const Json* const threw = memberOf(object, "threw");
        const Json* const gave = memberOf(object, "gave");
        line.threw = threw && *threw == true;
        if (!line.threw && (!gave || !gave->is_object()))
            return fail("the end of a call needs \"gave\"");
        line.kind = Line::Kind::End;
        line.step = *step;
        line.name = record_.lines[record_.open.back()].name;
        line.members = line.threw ? Json::object() : *gave;
        record_.open.pop_back();
        record_.lines.push_back(std::move(line));
        return true;
    }

    bool addIdle(const Json& object, Line line)
    {
        const auto count = countIn(object, "idle");
        if (!count || !isOutsideOfTheLibrary())
            return fail("idle ticks need their number, and stand outside of the library");
        line.kind = Line::Kind::Idle;
        line.count = *count;
        record_.lines.push_back(std::move(line));
        return true;
    }

    bool addState(const Json& object, Line line)
    {
        const auto which = textIn(object, "state");
        if (!record_.open.empty() || (which != "begin" && which != "end") ||
            (which == "begin") == isInState_ || (which == "begin" && !record_.lines.empty()))
            return fail("a state begins and ends once, outside of every call and before them");
        isInState_ = !isInState_;
        line.kind = isInState_ ? Line::Kind::StateBegin : Line::Kind::StateEnd;
        record_.lines.push_back(std::move(line));
        return true;
    }

    bool addBody(const Json& object)
    {
        const auto hash = textIn(object, "body");
        if (!hash || !isHash(*hash))
            return fail("a body needs its SHA-256");
        if (const auto text = textIn(object, "base64")) {
            std::optional<std::string> bytes = fromBase64(*text);
            if (!bytes)
                return fail("this is not base64");
            if (!record_.bodies.add(*hash, std::move(*bytes)))
                return fail("the bytes do not have that hash");
            return true;
        }
        const auto length = countIn(object, "length");
        if (!length)
            return fail("a body needs \"base64\" or \"length\"");
        return record_.bodies.addLeftOut(*hash, *length) ||
               fail("a body of that length is too large");
    }

    Record& record_;
    std::string& problem_;
    uint64_t lastStep_ = 0;
    size_t number_ = 1;
    bool isInState_ = false;
    bool isOver_ = false;
};

/// Whether nothing that is a line follows.
bool isAtTheLastLine(std::istream& input)
{
    std::string text;
    while (std::getline(input, text)) {
        if (parseObject(text))
            return false;
    }
    return true;
}

}  // namespace

std::optional<Record> readRecord(std::istream& input, std::string& problem)
{
    Record record;
    Assembly assembly(record, problem);
    std::string text;
    for (size_t number = 1; std::getline(input, text); ++number) {
        const std::optional<Json> object = parseObject(text);
        if (!object) {
            if (number > 1 && isAtTheLastLine(input)) {
                record.remark =
                    "line " + std::to_string(number) + ", the last one, is no whole line";
                return record;
            }
            problem = "line " + std::to_string(number) + ": this is no object of JSON";
            return std::nullopt;
        }
        if (!(number == 1 ? assembly.addHead(*object) : assembly.add(*object, number)))
            return std::nullopt;
    }
    if (record.head.is_null()) {
        problem = "it is empty";
        return std::nullopt;
    }
    if (assembly.isInState()) {
        problem = "it ends before the state in which it begins";
        return std::nullopt;
    }
    return record;
}

}  // namespace replay
