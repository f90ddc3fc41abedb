#include "kit/xml_fault.h"

#include <cstddef>
#include <utility>

namespace VestaHbbTV {

namespace {

constexpr size_t longestQuote = 40;

bool isPrintable(char character)
{
    return character >= ' ' && character <= '~';
}

/// Of a character in UTF-8, after its first byte.
bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

void XMLFault::set(HBBTV_KitXMLAITStatus status, const XMLPlace& place, std::string text)
{
    if (isSet())
        return;
    status_ = status;
    place_ = place;
    text_ = std::move(text);
}

std::string quotation(std::string_view text)
{
    std::string quote = "\"";
    size_t characters = 0;
    for (const char byte : text) {
        if (isContinuation(byte))
            continue;
        if (++characters > longestQuote) {
            quote += "...";
            break;
        }
        quote += isPrintable(byte) ? byte : '?';
    }
    return quote + '"';
}

}  // namespace VestaHbbTV
