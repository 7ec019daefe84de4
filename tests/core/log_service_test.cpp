// The log: the form of a line, the daily file through a change of day, the sweep, and the bounded queue.

#include "core/log_service.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <regex>

#include "core/log_queue.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/clock.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t DAY = 24 * 60 * 60;

// Tomorrow's noon in UTC: near enough to the real time, which file systems write down, that no file is old
// yet.
const std::int64_t NOON = (std::time(nullptr) / DAY + 1) * DAY + DAY / 2;

std::string Date(std::int64_t moment, const char* format) {
  const std::time_t seconds = moment;
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  char room[32];
  return {room, std::strftime(room, sizeof room, format, &parts)};
}

class LogService : public ::testing::Test {
 protected:
  LogService() {
    ::setenv("TZ", "UTC0", 1);
    ::tzset();
    SetClock(NOON);
  }
  ~LogService() override {
    LogServiceStop();
    platform::SetClockOffset(0);
  }

  static void SetClock(std::int64_t moment) { platform::SetClockOffset(moment - std::time(nullptr)); }

  // The finished line that the list has got since the last call.
  static std::string Line() {
    std::uint64_t dropped = 0;
    return CServerApp::Current()->LogLines.Take(1, dropped).at(0).Text;
  }

  TestWorld world_;
  const fs::path directory_ = world_.Root() / "daily" / "";
  const fs::path today_ = directory_ / Date(NOON, "%Y_%m_%d.txt");
  const fs::path tomorrow_ = directory_ / Date(NOON + DAY, "%Y_%m_%d.txt");
};

TEST_F(LogService, LinesHaveTimeLabelAndAMessageOfLimitedLength) {
  WriteLog(LOG_AGENT, "[%d]S: %s", 12, "250 %s ok");
  const std::string form =
      R"(\[)" + Date(NOON, "%m/%d 12:00") + R"(:\d\d\]:\[AGENT\]  \[12\]S: 250 %s ok\r\n)";
  EXPECT_TRUE(std::regex_match(Line(), std::regex(form)));
  const std::pair<std::size_t, std::size_t> lengths[] = {{0, 28}, {994, 1022}, {5000, 1023}};
  for (const auto& [message, size] : lengths) {
    WriteLog(LOG_SMTP, "%s", std::string(message, 'x').c_str());
    const std::string line = Line();
    EXPECT_EQ(line.size(), size);
    EXPECT_TRUE(line.ends_with(message == 0 ? " \r\n" : "x\r\n"));
  }
}

TEST_F(LogService, TheFirstLineOfADayOpensItsFileAndSweeps) {
  g_SystemConfig.LogToFile = 1;
  EXPECT_EQ(LogServiceStart(directory_.string()), 0);
  WriteLog(LOG_SMTP, "first day");
  const std::string first = ReadFile(today_);
  SetClock(NOON + DAY);
  WriteLog(LOG_SMTP, "second day");
  EXPECT_EQ(ReadFile(today_), first);
  EXPECT_TRUE(ReadFile(tomorrow_).starts_with(Date(NOON + DAY, "[%m/%d 12:00:")));
  fs::create_directories(directory_ / "below");
  WriteFile(directory_ / "below" / "kept", "x");
  SetClock(NOON + 28 * DAY);
  WriteLog(LOG_SMTP, "four weeks later");
  EXPECT_EQ(FileNames(directory_).size(), 4u);
  SetClock(NOON + 34 * DAY);
  WriteLog(LOG_SMTP, "what is older than thirty days goes");
  EXPECT_EQ(FileNames(directory_).size(), 2u);
  EXPECT_TRUE(fs::exists(directory_ / "below" / "kept"));
}

TEST(LogLineQueue, DropsTheOldestAndWakesOnlyAnEmptyQueuesReader) {
  LogLineQueue queue;
  int woken = 0;
  queue.SetNotifier([&] { ++woken; });
  for (std::size_t i = 0; i < LogLineQueue::CAPACITY + 3; ++i) queue.Put(LOG_SMTP, std::to_string(i));
  EXPECT_EQ(woken, 1);
  std::uint64_t dropped = 0;
  EXPECT_EQ(queue.Take(2, dropped).at(0).Text, "3");
  EXPECT_EQ(dropped, 3u);
  queue.Take(LogLineQueue::CAPACITY, dropped);
  queue.Put(LOG_POP3, "again");
  EXPECT_EQ(woken, 2);
}

}  // namespace
}  // namespace velnor::test
