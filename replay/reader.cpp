#include "replay/reader.h"

#include <algorithm>
#include <cstring>

namespace replay {

namespace {

std::optional<unsigned char> digitOf(char character)
{
    if (character >= '0' && character <= '9')
        return static_cast<unsigned char>(character - '0');
    if (character >= 'a' && character <= 'f')
        return static_cast<unsigned char>(character - 'a' + 10);
    return std::nullopt;
}

std::optional<std::string> fromHex(const std::string& text)
{
    if (text.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    for (size_t place = 0; place < text.size(); place += 2) {
        const auto high = digitOf(text[place]);
        const auto low = digitOf(text[place + 1]);
        if (!high || !low)
            return std::nullopt;
        bytes += static_cast<char>(*high << 4 | *low);
    }
    return bytes;
}

bool hasItsOwnLength(const std::string& section)
{
    const size_t headerLength = 3;
    if (section.size() < headerLength)
        return false;
    const auto high = static_cast<unsigned char>(section[1]);
    const auto low = static_cast<unsigned char>(section[2]);
    return section.size() == headerLength + ((high & 0xFU) << 8 | low);
}

}  // namespace

std::optional<std::string> bytesOf(const std::string& utf8)
{
    std::string bytes;
    for (size_t place = 0; place < utf8.size(); ++place) {
        const auto lead = static_cast<unsigned char>(utf8[place]);
        const bool isLatin = lead == 0xC2 || lead == 0xC3;
        if (lead == 0 || (lead >= 0x80 && (!isLatin || place + 1 == utf8.size())))
            return std::nullopt;
        if (isLatin)
            bytes += static_cast<char>((lead & 3) << 6 | (utf8[++place] & 0x3F));
        else
            bytes += utf8[place];
    }
    return bytes;
}

void Reader::section(const char* member, unsigned char*& section)
{
    section = nullptr;
    const auto digits = textIn(member);
    if (!digits)
        return;
    const auto bytes = fromHex(*digits);
    if (!bytes || !hasItsOwnLength(*bytes)) {
        fail(member, "is no whole section");
        return;
    }
    section = static_cast<unsigned char*>(std::malloc(bytes->size()));
    if (section)
        std::memcpy(section, bytes->data(), bytes->size());
}

const Json* Reader::find(const char* member)
{
    const auto found = members_.find(member);
    if (found != members_.end())
        return &*found;
    fail(member, "is missing");
    return nullptr;
}

void Reader::fail(const char* member, const std::string& what)
{
    if (problem_.empty())
        problem_ = "\"" + std::string(member) + "\" " + what;
}

std::optional<std::string> Reader::nameIn(const char* member, recorder::Handle kind)
{
    const Json* const found = find(member);
    if (!found || found->is_null())
        return std::nullopt;
    if (found->is_string() && isNameOf(kind, found->get_ref<const std::string&>()))
        return found->get<std::string>();
    fail(member, "is no " + std::string(recorder::nameOf(kind)));
    return std::nullopt;
}

uintptr_t Reader::valueOf(recorder::Handle kind, const std::string& name)
{
    const std::optional<uintptr_t> value = meaning_.names.valueOf(kind, name);
    if (!value)
        fail(name.c_str(), "is one handle too many");
    return value.value_or(0);
}

std::optional<std::string> Reader::textIn(const char* member)
{
    const Json* const found = find(member);
    if (!found || found->is_null())
        return std::nullopt;
    auto bytes = found->is_string() ? bytesOf(found->get_ref<const std::string&>())
                                    : std::optional<std::string>();
    if (!bytes)
        fail(member, "is no text of bytes");
    return bytes;
}

std::optional<std::string> Reader::textIn(const char* member, recorder::PartsOf partsOf)
{
    auto bytes = textIn(member);
    if (bytes)
        bytes = meaning_.queries.restored(*bytes, partsOf);
    return bytes;
}

char* Reader::malloced(const std::string& text)
{
    return strdup(text.c_str());
}

const Body* Reader::bodyOf(const char* member, const Json& hash, const Json& length)
{
    const Body* const body =
        hash.is_string() ? meaning_.bodies.find(hash.get<std::string>()) : nullptr;
    if (!body || length != body->bytes.size()) {
        fail(member, "is a body that the record does not have, or not at this length");
        return nullptr;
    }
    meaning_.pieces.begin(*body);
    hasReadLeftOutBody_ = hasReadLeftOutBody_ || body->isLeftOut;
    return body;
}

bool Reader::assignDouble(const Json& json, double& value)
{
    const double infinity = std::numeric_limits<double>::infinity();
    if (json.is_number())
        value = json.get<double>();
    else if (json == "nan")
        value = std::nan("");
    else if (json == "inf" || json == "-inf")
        value = json == "inf" ? infinity : -infinity;
    else
        return false;
    return true;
}

}  // namespace replay
