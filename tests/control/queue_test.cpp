#include "control/queue.h"

#include <gtest/gtest.h>

#include "control/listing.h"
#include "control_world.h"
#include "core/system_config.h"
#include "platform/clock.h"

namespace velnor::test {
namespace {

const std::string NAME = "20300101120000000001000002000003";

class Queue : public ::testing::Test {
 protected:
  void Put(const std::string& mark, const std::string& last, const std::string& text) {
    WriteFile(world_.World.Spool() / (mark + NAME + last), text);
  }
  ~Queue() override { platform::SetClockOffset(0); }

  ControlWorld world_;
};

std::string Head(const std::string& recipients, int retries) {
  return "Forward-Path: " + recipients +
         "\r\r\nReturn-Path: ann@one.test\r\r\nRetry-Times: " + std::to_string(retries) + "\r\r\n";
}

TEST_F(Queue, ShowsEachFileInItsState) {
  Put("s", "1", Head("bob@two.test,eve@two.test", 3) + "Received: x\r\r\nSubject: \x1b[2J\r\r\n\r\r\nText");
  Put("__s", "2", Head("carl@two.test", 0) + "Text");
  Put("_", "3", "Forward-Path: dan@two.test\r\r\nRetu");
  for (const char* other : {"n", "other", "__"}) Put(other, "4", "x");
  // Something that is listed and can't be read.
  std::filesystem::create_directory_symlink(world_.World.Root(), world_.World.Spool() / ("s" + NAME + "5"));
  platform::SetClockOffset(3600);

  const std::string list = world_.Run("queue list --json").Out;
  for (const std::string& row : {
           "\"name\": \"s" + NAME + "1\", \"state\": \"waiting\", \"age\": 36",
           std::string("\"sender\": \"ann@one.test\", \"recipients\": [\"bob@two.test\", \"eve@two.test\"], "
                       "\"retries\": 3}"),
           "\"name\": \"__s" + NAME + "2\", \"state\": \"claimed\"",
           "\"name\": \"_" + NAME + "3\", \"state\": \"writing\"",
           std::string("\"sender\": \"\", \"recipients\": [\"dan@two.test\"], \"retries\": 0}"),
           "\"name\": \"s" + NAME + "5\", \"state\": \"waiting\"",
           std::string("\"sender\": null, \"recipients\": null, \"retries\": null}"),
       }) {
    EXPECT_NE(list.find(row), std::string::npos) << row << "\nin\n" << list;
  }
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 4) << list;

  const Outcome show = world_.Run("queue show s" + NAME + "1");
  EXPECT_EQ(show.Status, 0);
  EXPECT_TRUE(show.Out.ends_with("retries: 3\n\nReceived: x\nSubject: ?[2J\n")) << show.Out;
  // A name that was taken from an earlier list still means the file.
  EXPECT_NE(world_.Run("queue show s" + NAME + "2").Out.find("state: claimed"), std::string::npos);
  EXPECT_EQ(world_.Run("queue show ../../velnor.ini").Status, 1);
  EXPECT_TRUE(world_.Run("queue show s" + NAME + "5").Err.ends_with("5 can't be read by this account.\n"));

  const std::string metrics = world_.Run("metrics").Out;
  for (const char* count : {"writing\"} 1", "waiting\"} 2", "claimed\"} 1"}) {
    EXPECT_NE(metrics.find("velnor_queue_files{state=\"" + std::string(count) + "\n"), std::string::npos);
  }
  EXPECT_NE(metrics.find("\nvelnor_queue_oldest_age_seconds 36"), std::string::npos) << metrics;
}

TEST_F(Queue, AFileIsFollowedOnlyWhereItIsNotThereAnyMore) {
  Put("__s", "1", Head("bob@two.test", 3));
  Put("s", "2", Head("bob@two.test", 3));
  std::filesystem::create_directory(world_.World.Spool() / ("_" + NAME + "2"));
  const std::vector<std::pair<std::string, SpoolLook>> looks = {
      {"1", SpoolLook::READ}, {"2", SpoolLook::UNREADABLE}, {"3", SpoolLook::GONE}};
  for (const auto& [last, expected] : looks) {
    SpoolEntry entry{.Name = "_" + NAME + last, .State = SpoolState::WRITING};
    SpoolContent content;
    EXPECT_EQ(ReadSpoolFile(entry, content), expected) << last;
    EXPECT_EQ(content.Head.RetryTimes, expected == SpoolLook::READ ? 3 : 0);
    EXPECT_EQ(entry.State == SpoolState::WRITING, expected == SpoolLook::UNREADABLE);
  }
}

TEST_F(Queue, MetricsAreOfTheOpenForm) {
  world_.World.AddAccount("o\"e.test", "ann", "secret");
  world_.World.AddAccount("o\"e.test", "bob", "secret");
  g_SystemConfig.SaveDomains();
  WriteFile(world_.World.Inbox("o\"e.test", "ann") / "n1", std::string(1000, 'x'));
  WriteFile(world_.World.Inbox("o\"e.test", "bob") / "n2", "xx");
  const std::string metrics = world_.Run("metrics").Out;
  for (const char* lines :
       {"# TYPE velnor_queue_files gauge\n# HELP velnor_queue_files Files",
        "# UNIT velnor_queue_oldest_age_seconds seconds\n# HELP velnor_queue_oldest_age_seconds Age",
        "\nvelnor_queue_oldest_age_seconds 0\n", "\nvelnor_mailboxes{domain=\"o\\\"e.test\"} 2\n",
        "\nvelnor_mailbox_messages{domain=\"o\\\"e.test\"} 2\n"}) {
    EXPECT_NE(metrics.find(lines), std::string::npos) << lines << "\nin\n" << metrics;
  }
  EXPECT_TRUE(metrics.ends_with("\nvelnor_mailbox_bytes{domain=\"o\\\"e.test\"} 1002\n# EOF\n")) << metrics;
  // Figures of what can't be listed would be wrong.
  std::filesystem::remove_all(world_.World.MailRoot() / "o\"e.test");
  WriteFile(world_.World.MailRoot() / "o\"e.test", "");
  for (const char* line : {"metrics", "user list"}) EXPECT_EQ(world_.Run(line).Status, 1) << line;
}

TEST(ListingForms, AnyBytesBecomeValidText) {
  const Record record{{"a", "q\"b\\s\nn\x7f"}, {"b", "\xC3\xA4\xFF\xE2\x82"}, {"c", Cell()}};
  EXPECT_EQ(
      RecordJson(record),
      "{\"a\": \"q\\\"b\\\\s\\u000an\\u007f\", \"b\": \"\xC3\xA4\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\", "
      "\"c\": null}\n");
  for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF0\x80\x80\x80"}) {
    EXPECT_EQ(ValidUtf8(bad).find(bad), std::string::npos);
  }
  EXPECT_EQ(ListingText({{"name", "n"}, {{"\xC3\xA4", true}, {"abcde", Cell()}}}),
            "name   n\n\xC3\xA4      yes\nabcde  -\n");
}

}  // namespace
}  // namespace velnor::test
