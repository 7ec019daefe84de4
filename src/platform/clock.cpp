#include "platform/clock.h"

#include <atomic>

#include "platform/lock.h"

namespace platform {
namespace {

std::atomic<std::int64_t> g_ClockOffset = 0;

CriticalSection g_ZoneSection;

const std::int64_t g_ProcessStart = [] {
  std::timespec now{};
  ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}();

std::tm Calendar(std::tm* (*convert)(const std::time_t*, std::tm*), std::time_t moment) {
  std::tm parts{};
  if (convert(&moment, &parts) == nullptr) {
    moment = 0;
    convert(&moment, &parts);
  }
  return parts;
}

}  // namespace

std::int64_t UnixNow() {
  return std::time(nullptr) + g_ClockOffset;
}

void SetClockOffset(std::int64_t seconds) {
  g_ClockOffset = seconds;
}

std::tm UtcTime(std::int64_t moment) {
  return Calendar(::gmtime_r, moment);
}

std::tm LocalTime(std::int64_t moment) {
  return Calendar(::localtime_r, moment);
}

std::int64_t SecondsWestOfGreenwich() {
  // The C library keeps the zone for the whole process and reads its settings anew here.
  SectionGuard guard(g_ZoneSection);
  ::tzset();
  return ::timezone;
}

std::int64_t ProcessStartTime() {
  return g_ProcessStart;
}

}  // namespace platform
