#include "core/timestamps.h"

#include <array>
#include <cstdlib>

#include "core/text.h"
#include "platform/clock.h"

namespace velnor {

std::string NowString() {
  const std::tm now = platform::UtcTime(platform::UnixNow());
  return FormatText("%04d%02d%02d%02d%02d%02d", now.tm_year + 1900, now.tm_mon + 1, now.tm_mday, now.tm_hour,
                    now.tm_min, now.tm_sec);
}

std::string RfcDateNow() {
  constexpr std::array DAYS = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array MONTHS = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const long west = static_cast<long>(platform::SecondsWestOfGreenwich());
  const std::tm now = platform::LocalTime(platform::UnixNow());
  const long hours = west / 3600;
  const long minutes = west % 3600 / 60;
  return FormatText("%s, %02d %s %d %02d:%02d:%02d %c%02ld%02ld", DAYS[static_cast<std::size_t>(now.tm_wday)],
                    now.tm_mday, MONTHS[static_cast<std::size_t>(now.tm_mon)], now.tm_year + 1900,
                    now.tm_hour, now.tm_min, now.tm_sec, hours < 0 ? '+' : '-', std::labs(hours),
                    std::labs(minutes));
}

}  // namespace velnor
