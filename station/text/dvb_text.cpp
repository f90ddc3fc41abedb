#include "station/text/dvb_text.h"

#include <algorithm>

namespace station {

namespace {

constexpr char utf8Table = 0x15;

bool isPlain(char character)
{
    return character >= ' ' && character <= '~';
}

}  // namespace

std::string encodeDvbText(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), isPlain) ? text : utf8Table + text;
}

}  // namespace station
