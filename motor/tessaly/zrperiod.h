// Instants and periods as people write them.
#pragma once

#include <optional>
#include <string_view>

#include "host/tools/zrdatetime.h"

// What a text without a zone of its own is read as.
enum class ZRReading { kUtc, kLocal };

// Reads either of
//
//   21112026080509                 day, month, year, hour, minute, second
//   2026-11-21                     its beginning
//   2026-11-21T08:05               and further ":09", and behind that ".25" or ",25" to the
//   2026-11-21 08:05:09.25+01:00   millisecond; then "Z" or an offset, "+01:00", "+0100" or "+01"
//
// The "T" and the "Z" may be small. Nothing for any other text, and for a date that doesn't exist.
[[nodiscard]] std::optional<ZRDateTime> ParseInstant(std::string_view text, ZRReading reading);

// From the first instant up to, and without, the second; UTC. No record lies outside of 1970 to
// 2099, and a period that is longer is cut to these years.
struct ZRPeriod {
  ZRDateTime from;
  ZRDateTime to;
};

// What both are the text of. Nothing for a text that can't be read, and if `from` lies behind `to`;
// `reason` says so in one sentence.
[[nodiscard]] std::optional<ZRPeriod> ParsePeriod(std::string_view from, std::string_view to,
                                                  ZRReading reading, const char*& reason);

// The same with a default for an empty text. Without `to`: up to the end of the month that `now`
// lies in. Without `from`: from the beginning of the month in which the period ends. Months are
// local ones, and so are texts without a zone.
[[nodiscard]] std::optional<ZRPeriod> ParsePeriodAround(const ZRDateTime& now,
                                                        std::string_view from, std::string_view to,
                                                        const char*& reason);
