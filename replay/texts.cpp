#include "replay/texts.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace replay {

namespace {

const size_t longestValue = 80;
const int stepWidth = 7;

std::string jsonText(const Json& json)
{
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

std::string shortened(std::string text)
{
    if (text.size() > longestValue)
        text =
            text.substr(0, longestValue / 2) + "..." + text.substr(text.size() - longestValue / 4);
    return text;
}

/// A part that only one side has, or has otherwise, in the place where that is.
/// @param other null to mark nothing
std::string valueText(const Json& value, const Json* other);

std::string membersText(const Json& members, const Json* other)
{
    std::string text;
    for (const auto& [member, value] : members.items()) {
        const bool isAlone = other && !other->contains(member);
        const Json* const otherValue = other && !isAlone ? &other->at(member) : nullptr;
        const std::string pair = jsonText(member) + ":" + valueText(value, otherValue);
        text += (text.empty() ? "" : ", ") + (isAlone ? ">>" + pair + "<<" : pair);
    }
    return "{" + text + "}";
}

std::string elementsText(const Json& elements, const Json* other)
{
    std::string text;
    for (size_t place = 0; place < elements.size(); ++place) {
        const bool isAlone = other && place >= other->size();
        const Json* const otherValue = other && !isAlone ? &(*other)[place] : nullptr;
        const std::string element = valueText(elements[place], otherValue);
        text += (place == 0 ? "" : ", ") + (isAlone ? ">>" + element + "<<" : element);
    }
    return "[" + text + "]";
}

std::string valueText(const Json& value, const Json* other)
{
    const bool isMarked = other && *other != value;
    if (isMarked && value.is_object() && other->is_object())
        return membersText(value, other);
    if (isMarked && value.is_array() && other->is_array())
        return elementsText(value, other);
    return isMarked ? ">>" + jsonText(value) + "<<" : shortened(jsonText(value));
}

const char* wordFor(Line::Kind kind)
{
    switch (kind) {
    case Line::Kind::In:
        return "in";
    case Line::Kind::Out:
        return "out";
    case Line::Kind::End:
        return "end";
    default:
        return "";
    }
}

}  // namespace

std::string shortText(const Json& members)
{
    return membersText(members, nullptr);
}

std::string markedText(const Json& members, const Json& other)
{
    return membersText(members, &other);
}

std::string lineText(const Line& line)
{
    std::ostringstream text;
    switch (line.kind) {
    case Line::Kind::In:
    case Line::Kind::Out:
    case Line::Kind::End:
        text << std::setw(stepWidth) << line.step << "  " << std::left << std::setw(3)
             << wordFor(line.kind) << "  " << line.name << " "
             << (line.threw ? "threw" : shortText(line.members));
        break;
    case Line::Kind::Idle:
        text << std::setw(stepWidth) << ""
             << "  idle ticks: " << line.count;
        break;
    case Line::Kind::StateBegin:
        text << std::setw(stepWidth) << ""
             << "  a state begins";
        break;
    case Line::Kind::StateEnd:
        text << std::setw(stepWidth) << ""
             << "  the state ends";
        break;
    }
    return text.str();
}

}  // namespace replay
