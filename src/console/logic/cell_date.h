// Reads the text of a list's cell as a date. No state; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace velnor {

// Which of two leading numbers is the day where a date leaves it open, as in 3/4/2024.
enum class DateOrder { DAY_FIRST, MONTH_FIRST };

// A point in time, in seconds since 1970 without a time zone, or none if the text is no date. These forms are
// read, each with or without a time of day behind it:
//   2024-04-03    2024/4/3    2024-04-03T15:30:00    year first, whatever the order
//   3.4.2024    3/4/24    3-4-2024                   day and month in the order given; if only one way gives
//   a day of
//                                                    the calendar, that way
//   3 April 2024    3-Apr-24    April 3, 2024        English month names, or their first three letters
//   15:30    15:30:05    3:30 PM                     a time alone is one of the day 0
// A year of two digits is one of 1930 to 2029.
std::optional<std::int64_t> ReadDate(std::string_view text, DateOrder order);

}  // namespace velnor
