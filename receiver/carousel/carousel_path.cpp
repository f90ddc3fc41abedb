#include "receiver/carousel/carousel_path.h"

#include <algorithm>
#include <vector>

namespace receiver {

namespace {

std::optional<unsigned> hexDigit(char digit)
{
    if (digit >= '0' && digit <= '9')
        return static_cast<unsigned>(digit - '0');
    if (digit >= 'a' && digit <= 'f')
        return static_cast<unsigned>(digit - 'a') + 10;
    if (digit >= 'A' && digit <= 'F')
        return static_cast<unsigned>(digit - 'A') + 10;
    return std::nullopt;
}

std::optional<unsigned> hexNumber(const std::string& text, unsigned largest)
{
    unsigned number = 0;
    for (const char character : text) {
        const std::optional<unsigned> digit = hexDigit(character);
        if (!digit)
            return std::nullopt;
        number = number * 16 + *digit;
        if (number > largest)
            return std::nullopt;
    }
    return text.empty() ? std::nullopt : std::optional<unsigned>(number);
}

std::vector<std::string> splitAtDots(const std::string& text)
{
    std::vector<std::string> parts(1);
    for (const char character : text) {
        if (character == '.')
            parts.emplace_back();
        else
            parts.back() += character;
    }
    return parts;
}

}  // namespace

std::optional<CarouselPath> parseCarouselPath(const std::string& text)
{
    const size_t end = std::min(text.find_first_of("/?#"), text.size());
    const std::vector<std::string> ids = splitAtDots(text.substr(0, end));
    if (ids.size() != 4)
        return std::nullopt;
    const std::optional<unsigned> network = hexNumber(ids[0], 0xFFFF);
    const std::optional<unsigned> transport = hexNumber(ids[1], 0xFFFF);
    const std::optional<unsigned> service = hexNumber(ids[2], 0xFFFF);
    const std::optional<unsigned> componentTag = hexNumber(ids[3], 0xFF);
    if (!network || !service || !componentTag || (!transport && !ids[1].empty()))
        return std::nullopt;

    CarouselPath path;
    path.originalNetworkId = static_cast<uint16_t>(*network);
    if (transport)
        path.transportStreamId = static_cast<uint16_t>(*transport);
    path.serviceId = static_cast<uint16_t>(*service);
    path.componentTag = static_cast<uint8_t>(*componentTag);
    path.path = text.substr(end + (end < text.size() && text[end] == '/' ? 1 : 0));
    return path;
}

}  // namespace receiver
