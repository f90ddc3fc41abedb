/// Dates and times, as people and as broadcasts write them.
#ifndef VESTA_STATION_TEXT_DVB_TIME_H
#define VESTA_STATION_TEXT_DVB_TIME_H

#include <cstdint>
#include <optional>
#include <string>

#include "station/bytes/byte_writer.h"

namespace station {

constexpr int64_t secondsPerDay = 86400;

/// @param text "2026-03-14T20:15:00Z"
/// @return seconds since 1970 (UTC), or nothing for another form or a date that there is not
std::optional<int64_t> parseUtc(const std::string& text);

/// @param text "1:30:00", "90:00" (minutes and seconds) or "90" (seconds)
std::optional<int64_t> parseDuration(const std::string& text);

/// 40 bits: the day as Modified Julian Date, the time of day as BCD (ETSI EN 300 468, annex C).
Bytes encodeUtc(int64_t secondsSince1970);

/// 24 bits BCD: hours, minutes, seconds.
Bytes encodeDuration(int64_t seconds);

/// 16 bits BCD: hours and minutes of what is not negative.
Bytes encodeHoursAndMinutes(int64_t minutes);

}  // namespace station

#endif
