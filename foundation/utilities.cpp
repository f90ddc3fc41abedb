#include "foundation/utilities.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>

#include "foundation/text.h"

namespace VestaHbbTV {

const char* getFormattedTime()
{
    static char text[16] = "00:00:00:000000";

    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local = {};
    localtime_r(&now.tv_sec, &local);
    // The remainders change nothing: they tell the compiler that the text fits.
    std::snprintf(
        text, sizeof(text), "%.2u:%.2u:%.2u:%.6u", static_cast<unsigned>(local.tm_hour) % 100u,
        static_cast<unsigned>(local.tm_min) % 100u, static_cast<unsigned>(local.tm_sec) % 100u,
        static_cast<unsigned>(now.tv_nsec / 1000) % 1000000u);
    return text;
}

void usec_increase(timeval& tv, int usec)
{
    const int32_t microsecondsPerSecond = 1000000;
    const int32_t sum =
        static_cast<int32_t>(static_cast<uint32_t>(tv.tv_usec) + static_cast<uint32_t>(usec));
    tv.tv_sec += sum / microsecondsPerSecond;
    tv.tv_usec = sum % microsecondsPerSecond;
}

bool isHexadecimalNumberString(std::string text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char character) {
        return hexadecimalDigit(character) >= 0;
    });
}

bool endsWith(std::string text, std::string suffix)
{
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

int toInt(double number)
{
    if (std::isnan(number))
        return 0;
    if (number >= static_cast<double>(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    if (number <= static_cast<double>(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    return static_cast<int>(number);
}

}  // namespace VestaHbbTV
