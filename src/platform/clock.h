// The wall clock, as seconds since 1970 and broken down. Any thread.
#pragma once

#include <cstdint>
#include <ctime>

namespace platform {

// The time now. A test may put the clock forward or back by a number of seconds; the offset is 0 otherwise.
std::int64_t UnixNow();
void SetClockOffset(std::int64_t seconds);

// The moment as UTC and as local time. A moment that no calendar holds gives the beginning of 1970.
std::tm UtcTime(std::int64_t moment);
std::tm LocalTime(std::int64_t moment);

// Seconds that the zone's standard time stands west of Greenwich; daylight saving plays no part.
std::int64_t SecondsWestOfGreenwich();

// When this process began to run, in milliseconds since 1970 and by the clock that stamps files.
std::int64_t ProcessStartTime();

}  // namespace platform
