#include "agent/generated_mail.h"

#include "agent/agent_world.h"
#include "core/system_config.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using namespace test;

using FailureNoticeTest = AgentWorld;

TEST_F(FailureNoticeTest, GoesIntoTheInboxOfALocalSenderAndOfNobodyElse) {
  world_.AddAccount(DOMAIN, "list", "password");
  g_SystemConfig.AddMailList("list@example.test");
  std::filesystem::create_directories(world_.MailRoot() / "far.test" / "alice" / "MailDir" / "Inbox");
  const struct {
    std::string sender;
    int result;
  } cases[] = {
      {"alice@example.test", 1},
      {"Alice@Example.TEST", 1},
      {"list@example.test", 1},
      {"LIST@example.test", 1},
      {"Postmaster@example.test", 0},
      {"alice@far.test", 0},
      {"alice", 0},
      {"", 0},
      {"..@example.test", 0},
      {"@example.test", 0},
  };
  for (const auto& [sender, result] : cases) {
    SCOPED_TRACE(sender);
    platform::TextReader stream;
    OpenMessage(stream);
    EXPECT_EQ(SendBounce(stream, 77, "x@far.test,y@far.test", sender, "550 %s\rno"), result);
    ExpectAtMessage(stream);
  }
  EXPECT_EQ(Inbox("alice"),
            StoredTexts({NoticeText("alice@example.test", "x@far.test,y@far.test", "550 %s\rno"),
                         NoticeText("Alice@Example.TEST", "x@far.test,y@far.test", "550 %s\rno")}));
  EXPECT_EQ(Inbox("list"), std::vector<std::string>());
  EXPECT_EQ(FileNames(world_.MailRoot() / "far.test" / "alice" / "MailDir" / "Inbox"),
            std::vector<std::string>());
  EXPECT_EQ(Waiting(), std::vector<std::string>());

  platform::TextReader stream;
  OpenMessage(stream);
  std::filesystem::remove_all(world_.MailRoot());
  EXPECT_EQ(SendBounce(stream, 77, "x@far.test", ALICE, "reason"), DELIVERY_FAULT);
  EXPECT_EQ(SendBounce(stream, 77, "x@far.test", "alice@far.test", "reason"), 0);
}

}  // namespace
}  // namespace velnor
