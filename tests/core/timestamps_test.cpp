// Time stamps in the zones of the world, and the time in a mail file's name.

#include "core/timestamps.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <regex>

#include "core/mail_file_name.h"
#include "platform/clock.h"

namespace velnor::test {
namespace {

class Timestamps : public ::testing::Test {
 protected:
  ~Timestamps() override { Set("UTC0", std::time(nullptr)); }

  // The clock goes on from there, so a stamp may be a few seconds later.
  static void Set(const char* zone, std::int64_t moment) {
    ::setenv("TZ", zone, 1);
    ::tzset();
    platform::SetClockOffset(moment - std::time(nullptr));
  }
};

TEST_F(Timestamps, HeadersHaveLocalTimeAndTheStandardOffset) {
  constexpr std::int64_t SUMMER = 1'720'094'405;  // 2024-07-04 12:00:05 UTC
  constexpr std::int64_t WINTER = 1'704'067'205;  // 2024-01-01 00:00:05 UTC
  const struct {
    const char* Zone;
    std::int64_t Moment;
    const char* Stamp;  // without the seconds
  } cases[] = {
      {"UTC0", SUMMER, "Thu, 04 Jul 2024 12:00: -0000"},
      {"EST5EDT", SUMMER, "Thu, 04 Jul 2024 08:00: -0500"},
      {"XST-0:30", WINTER, "Mon, 01 Jan 2024 00:30: -0030"},
  };
  for (const auto& each : cases) {
    Set(each.Zone, each.Moment);
    EXPECT_EQ(std::regex_replace(RfcDateNow(), std::regex(":\\d\\d "), ": "), each.Stamp) << each.Zone;
  }
}

TEST_F(Timestamps, FileNamesHaveUtcAndGiveItBack) {
  constexpr std::int64_t MOMENT = 1'709'251'200;  // 2024-03-01 00:00:00 UTC
  Set("CST-8", MOMENT);
  EXPECT_EQ(NowString().substr(0, 12), "202403010000");
  for (const std::uint32_t thread_id : {7u, 123456u, 4194304u}) {
    const std::string name = MailFileName(thread_id);
    EXPECT_EQ(name.size(), thread_id > 999'999 ? 33u : 32u);
    const auto time = MailFileTime("__s" + name);
    EXPECT_EQ(time.value_or(0) / 60, MOMENT / 60);
  }
  for (const char* other : {"n", "n20240301000000000007000001", "20240301000000000007000001000002.txt"}) {
    EXPECT_FALSE(MailFileTime(other)) << other;
  }
}

}  // namespace
}  // namespace velnor::test
