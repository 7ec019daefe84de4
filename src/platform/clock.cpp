#include "platform/clock.h"

#include <atomic>

namespace platform {
namespace {

std::atomic<std::int64_t> g_ClockOffset = 0;

const std::int64_t g_ProcessStart = std::time(nullptr);

}  // namespace

std::int64_t UnixNow() {
  return std::time(nullptr) + g_ClockOffset;
}

void SetClockOffset(std::int64_t seconds) {
  g_ClockOffset = seconds;
}

std::tm UtcTime(std::int64_t moment) {
  const std::time_t seconds = moment;
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  return parts;
}

std::tm LocalTime(std::int64_t moment) {
  const std::time_t seconds = moment;
  std::tm parts{};
  ::localtime_r(&seconds, &parts);
  return parts;
}

std::int64_t SecondsWestOfGreenwich() {
  ::tzset();
  return ::timezone;
}

std::int64_t ProcessStartTime() {
  return g_ProcessStart;
}

}  // namespace platform
