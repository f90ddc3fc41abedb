#include "station/text/dvb_time.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace station {

namespace {

constexpr int64_t julianDayOf1970 = 40587;  // modified

bool hasForm(const std::string& text, const std::string& form)
{
    return text.size() == form.size() &&
           std::equal(text.begin(), text.end(), form.begin(), [](char character, char wanted) {
               return wanted == '0' ? std::isdigit(static_cast<unsigned char>(character)) != 0
                                    : character == wanted;
           });
}

bool isLeapYear(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysIn(int month, int year)
{
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

int64_t daysSince1970(int year, int month, int day)
{
    int64_t days = day - 1;
    for (int past = 1970; past < year; ++past)
        days += isLeapYear(past) ? 366 : 365;
    for (int past = 1; past < month; ++past)
        days += daysIn(past, year);
    return days;
}

unsigned bcd(int64_t value)
{
    return static_cast<unsigned>(value / 10 % 10 * 16 + value % 10);
}

}  // namespace

std::optional<int64_t> parseUtc(const std::string& text)
{
    if (!hasForm(text, "0000-00-00T00:00:00Z"))
        return std::nullopt;
    const auto number = [&text](size_t at, size_t size) {
        return std::stoi(text.substr(at, size));
    };
    const int year = number(0, 4);
    const int month = number(5, 2);
    const int day = number(8, 2);
    const int hour = number(11, 2);
    const int minute = number(14, 2);
    const int second = number(17, 2);
    // The 16 bits of the Modified Julian Date end in 2038.
    if (year < 1970 || year > 2037 || month < 1 || month > 12 || day < 1 ||
        day > daysIn(month, year) || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    return daysSince1970(year, month, day) * secondsPerDay + hour * 3600 + minute * 60 + second;
}

std::optional<int64_t> parseDuration(const std::string& text)
{
    constexpr size_t mostDigits = 6;
    std::vector<int64_t> parts(1, 0);
    size_t digits = 0;
    for (const char character : text) {
        if (character == ':' && digits != 0 && parts.size() < 3) {
            parts.push_back(0);
            digits = 0;
        } else if (character >= '0' && character <= '9' && digits < mostDigits) {
            parts.back() = parts.back() * 10 + (character - '0');
            ++digits;
        } else {
            return std::nullopt;
        }
    }
    if (digits == 0)
        return std::nullopt;
    int64_t seconds = 0;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i != 0 && parts[i] > 59)
            return std::nullopt;
        seconds = seconds * 60 + parts[i];
    }
    return seconds;
}

Bytes encodeUtc(int64_t secondsSince1970)
{
    const int64_t day = secondsSince1970 / secondsPerDay;
    return ByteWriter()
        .u16(static_cast<unsigned>(day + julianDayOf1970))
        .add(encodeDuration(secondsSince1970 % secondsPerDay));
}

Bytes encodeDuration(int64_t seconds)
{
    return ByteWriter().u8(bcd(seconds / 3600)).u8(bcd(seconds / 60 % 60)).u8(bcd(seconds % 60));
}

Bytes encodeHoursAndMinutes(int64_t minutes)
{
    return ByteWriter().u8(bcd(minutes / 60)).u8(bcd(minutes % 60));
}

}  // namespace station
