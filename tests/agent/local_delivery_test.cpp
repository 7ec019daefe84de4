#include "agent/local_delivery.h"

#include "agent/agent_world.h"
#include "agent/generated_mail.h"
#include "agent/spool_queue.h"
#include "core/system_config.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace test;

const std::string RECEIVED = "Received: (Velnor Smtp v1.0) ; <date>\r\n";
const std::string FORWARD = "ForwardEnable=1\nForwardAddr=x@far.test\nForwardSaveLocal=1\n";
const std::string LONG_TARGET = "x@" + std::string(130, 'f');

std::string ForwardText(const std::string& target) {
  return SpoolText(target, "Postmaster@example.test", 0, RECEIVED + MESSAGE);
}

const std::string RESPONSE =
    SpoolText(ALICE, "Postmaster@example.test", 0,
              RECEIVED + "From: BOB@example.test\nTo: alice@example.test\nDate: <date>\nMime-Version: 1.0\n" +
                  "Subject: =?gb2312?B?QXdheQ==?=\nContent-Type: text/plain;\n charset=\"gb2312\"\n" +
                  "Content-Transfer-Encoding: base64\n\nQXdheQ==");

class LocalDeliveryTest : public AgentWorld {
 protected:
  int Deliver(std::string_view user, std::string_view text = MESSAGE, std::string_view sender = ALICE) {
    platform::TextReader stream;
    OpenMessage(stream, text);
    const int result = LocalDeliver(stream, 77, user, DOMAIN, sender);
    ExpectAtMessage(stream, text);
    return result;
  }
  void Forget() {
    for (const fs::path& directory : {world_.Spool(), world_.Inbox(DOMAIN, "bob")}) {
      fs::remove_all(directory);
      fs::create_directory(directory);
    }
  }
};

TEST_F(LocalDeliveryTest, TheProfileDecidesWhatBecomesOfAMessage) {
  const struct {
    std::string keys;
    Texts inbox;
    Texts waiting;
  } cases[] = {
      {"ForwardEnable=7\nForwardAddr=x@far.test,y@here\nForwardSaveLocal=7\n",
       {},
       {ForwardText("x@far.test,y@here")}},
      {"ForwardEnable=0\nForwardAddr=x@far.test\nForwardSaveLocal=1\n", {MESSAGE}, {}},
      {"ForwardEnable=1\nForwardAddr=x at far.test\nForwardSaveLocal=1\n", {MESSAGE}, {}},
      {FORWARD + "ResponseEnable=1\nResponseSubject=Away", {}, {ForwardText("x@far.test"), RESPONSE}},
      {"ForwardEnable=1\nForwardAddr=" + LONG_TARGET, {MESSAGE}, {ForwardText(LONG_TARGET.substr(0, 126))}},
  };
  for (const auto& [keys, inbox, waiting] : cases) {
    SCOPED_TRACE(keys);
    Forget();
    world_.AddAccount(DOMAIN, "bob", "password", keys + "\n");
    EXPECT_EQ(Deliver("BOB"), 1);
    EXPECT_EQ(Inbox("bob"), inbox);
    EXPECT_EQ(Waiting(), waiting);
  }
}

TEST_F(LocalDeliveryTest, WithoutAnInboxNothingHappensAndWithoutASpoolAListsMembersAreAFault) {
  const fs::path inbox = world_.Inbox(DOMAIN, "bob");
  world_.AddAccount(DOMAIN, "bob", "password", FORWARD + "ResponseEnable=1\n");
  fs::remove(inbox);
  WriteFile(inbox, "no directory");
  for (const char* user : {"bob", "nobody", "", "..", "../example.test/alice", "a\\b", "alice\r"}) {
    EXPECT_EQ(Deliver(user), 0) << user;
  }
  EXPECT_EQ(Waiting(), Texts());
  EXPECT_EQ(Inbox("alice"), Texts());

  fs::remove(inbox);
  fs::create_directory(inbox);
  fs::remove_all(world_.Spool());
  EXPECT_EQ(Deliver("bob"), 1);
  EXPECT_EQ(Inbox("bob"), Texts{MESSAGE}) << "what can't be forwarded is stored";
  g_SystemConfig.AddMailList("bob@example.test");
  g_SystemConfig.AddListMember("bob@example.test", ALICE, 0);
  EXPECT_EQ(Deliver("bob"), DELIVERY_FAULT);
  g_SystemConfig.MailPath.Set((world_.Root() / "away").string());
  EXPECT_EQ(Deliver("bob"), DELIVERY_FAULT) << "a fault is no missing user";
}

TEST_F(LocalDeliveryTest, AMessageIsForwardedTwentyTimes) {
  world_.AddAccount(DOMAIN, "bob", "password", Replaced(FORWARD, "x@far.test", "bob@example.test"));
  std::string twenty;
  for (int i = 0; i < 20; ++i) twenty += RECEIVED;
  const std::string in_body = "Subject: s\r\n\r\n" + Replaced(twenty, "<date>", "then");
  EXPECT_EQ(Deliver("bob", in_body), 1);
  EXPECT_EQ(Inbox("bob"), Texts());
  DeliverAll();
  EXPECT_EQ(Inbox("bob"), Texts{twenty + in_body});
  EXPECT_EQ(Waiting(), Texts());
}

TEST_F(LocalDeliveryTest, AListSendsToAllItsMembersButItselfWhatAPosterWrites) {
  g_SystemConfig.AddMailList("bob@example.test");
  g_SystemConfig.AddListMember("bob@example.test", ALICE, 0);
  g_SystemConfig.AddListMember("bob@example.test", "Bob@Example.test", 0);
  g_SystemConfig.AddListMember("bob@example.test", "reader@far.test", 1);
  const std::pair<std::string, bool> cases[] = {
      {"ALICE@example.TEST", true}, {"reader@far.test", false}, {"stranger@far.test", false}};
  for (const auto& [sender, posts] : cases) {
    SCOPED_TRACE(sender);
    Forget();
    EXPECT_EQ(Deliver("bob", MESSAGE, sender), 1);
    EXPECT_EQ(Inbox("bob"), Texts{MESSAGE});
    const Texts copies = {SpoolText(ALICE, sender, 1), SpoolText("reader@far.test", sender, 1)};
    EXPECT_EQ(Waiting(), posts ? copies : Texts());
  }
}

TEST_F(LocalDeliveryTest, ANoticeGoesIntoTheInboxOfALocalSenderAndOfNobodyElse) {
  world_.AddAccount(DOMAIN, "list", "password");
  g_SystemConfig.AddMailList("list@example.test");
  fs::create_directories(world_.Inbox("far.test", "alice"));
  const std::pair<const char*, int> cases[] = {{"Alice@Example.TEST", 1},
                                               {"list@example.test", 1},
                                               {"Postmaster@example.test", 0},
                                               {"alice@far.test", 0},
                                               {"", 0},
                                               {"..@example.test", 0}};
  for (const auto& [sender, result] : cases) {
    platform::TextReader stream;
    OpenMessage(stream);
    EXPECT_EQ(SendBounce(stream, 77, "x@far.test,y@far.test", sender, "550 %s\rno"), result) << sender;
    ExpectAtMessage(stream);
  }
  EXPECT_EQ(Inbox("alice"), (Texts{NoticeText("Alice@Example.TEST", "x@far.test,y@far.test", "550 %s\rno")}));
  EXPECT_EQ(Inbox("list"), Texts());
  EXPECT_EQ(FileNames(world_.Inbox("far.test", "alice")).size(), 0U);
  EXPECT_EQ(Waiting(), Texts());
}

TEST_F(LocalDeliveryTest, AReadErrorInMidCopyPublishesNothing) {
  platform::TextReader stream;
  OpenTornText(stream);
  world_.AddAccount(DOMAIN, "bob", "password", FORWARD);
  EXPECT_EQ(LocalDeliver(stream, 77, "bob", DOMAIN, ALICE), DELIVERY_FAULT);
  EXPECT_EQ(SendBounce(stream, 77, "x@far.test", ALICE, "reason"), DELIVERY_FAULT);
  EXPECT_EQ(RequeueMail(stream, 77, "x@far.test", ALICE, 0), 0);
  for (const fs::path& directory :
       {world_.Spool(), world_.Inbox(DOMAIN, "bob"), world_.Inbox(DOMAIN, "alice")}) {
    EXPECT_EQ(FileNames(directory).size(), 0U);
  }
}

}  // namespace
}  // namespace velnor
