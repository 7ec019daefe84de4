#include "agent/local_delivery.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "agent/agent_world.h"
#include "agent/generated_mail.h"
#include "agent/spool_queue.h"
#include "core/system_config.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace test;
using Texts = std::vector<std::string>;

const std::string RECEIVED = "Received: (Velnor Smtp v1.0) ; <date>\r\n";
const std::string POSTMASTER = "Postmaster@example.test";

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

std::string ForwardText(std::string_view target, std::string_view text = MESSAGE) {
  return SpoolText(target, POSTMASTER, 0, RECEIVED + std::string(text));
}

std::string ResponseText(const std::string& subject, const std::string& body) {
  return SpoolText(
      ALICE, POSTMASTER, 0,
      RECEIVED + "From: bob@example.test\nTo: alice@example.test\nDate: <date>\nMime-Version: 1.0\n" +
          "Subject: =?gb2312?B?" + subject + "?=\nContent-Type: text/plain;\n charset=\"gb2312\"\n" +
          "Content-Transfer-Encoding: base64\n\n" + body);
}

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
  const std::string default_subject = "QXV0byBSZXNwb25zZSBNZXNzYWdlIEZyb20gPGJvYiBBVCBleGFtcGxlLnRlc3Q+";
  const std::string line = Times(19, "YWFh") + "\r\n";
  const struct {
    std::string keys;
    Texts inbox;
    Texts waiting;
  } cases[] = {
      {"", {MESSAGE}, {}},
      {"ForwardEnable=1\nForwardAddr=x@far.test\n", {MESSAGE}, {ForwardText("x@far.test")}},
      {"ForwardEnable=1\nForwardAddr=x@far.test\nForwardSaveLocal=0\n",
       {MESSAGE},
       {ForwardText("x@far.test")}},
      {"ForwardEnable=7\nForwardAddr=x@far.test,y@here\nForwardSaveLocal=7\n",
       {},
       {ForwardText("x@far.test,y@here")}},
      {"ForwardEnable=0\nForwardAddr=x@far.test\nForwardSaveLocal=1\n", {MESSAGE}, {}},
      {"ForwardEnable=1\nForwardAddr=x at far.test\nForwardSaveLocal=1\n", {MESSAGE}, {}},
      {"ForwardEnable=1\nForwardSaveLocal=1\n", {MESSAGE}, {}},
      {"ForwardEnable=1\nForwardAddr=x@" + std::string(130, 'f') + "\n",
       {MESSAGE},
       {ForwardText("x@" + std::string(124, 'f'))}},
      {"ResponseEnable=0\nResponseSubject=Away\nResponseBody=Back on Monday\n", {MESSAGE}, {}},
      {"ResponseEnable=1\nResponseSubject=Away\nResponseBody=Back on Monday\n",
       {MESSAGE},
       {ResponseText("QXdheQ==", "QmFjayBvbiBNb25kYXk=")}},
      {"ResponseEnable=1\nResponseSubject=Away\n", {MESSAGE}, {ResponseText("QXdheQ==", "QXdheQ==")}},
      {"ResponseEnable=1\n", {MESSAGE}, {ResponseText(default_subject, default_subject)}},
      {"ResponseEnable=1\nResponseSubject=" + std::string(200, 'a') +
           "\nResponseBody=" + std::string(58, 'a') + "\n",
       {MESSAGE},
       {ResponseText(line + line + Times(4, "YWFh") + "YQ==", line + "YQ==")}},
      {"ResponseEnable=1\nResponseSubject=a\nResponseBody=" + std::string(1100, 'a') + "\n",
       {MESSAGE},
       {ResponseText("YQ==", Times(17, line) + Times(17, "YWFh") + "YWE=")}},
      {"ForwardEnable=1\nForwardAddr=x@far.test\nForwardSaveLocal=1\nResponseEnable=1\nResponseSubject="
       "Away\n",
       {},
       {ForwardText("x@far.test"), ResponseText("QXdheQ==", "QXdheQ==")}},
  };
  for (const auto& [keys, inbox, waiting] : cases) {
    SCOPED_TRACE(keys);
    Forget();
    world_.AddAccount(DOMAIN, "bob", "password", keys);
    EXPECT_EQ(Deliver("bob"), 1);
    EXPECT_EQ(Inbox("bob"), StoredTexts(inbox));
    EXPECT_EQ(Waiting(), StoredTexts(waiting));
  }
  Forget();
  fs::remove(world_.MailRoot() / DOMAIN / "bob" / "config.ini");
  EXPECT_EQ(Deliver("BOB"), 1);
  EXPECT_EQ(Inbox("bob"), StoredTexts({MESSAGE}));
}

TEST_F(LocalDeliveryTest, WithoutAnInboxNothingHappens) {
  const fs::path inbox = world_.Inbox(DOMAIN, "bob");
  world_.AddAccount(DOMAIN, "bob", "password", "ForwardEnable=1\nForwardAddr=x@far.test\nResponseEnable=1\n");
  fs::remove(inbox);
  WriteFile(inbox, "no directory");
  for (const char* user :
       {"bob", "nobody", "", ".", "..", "../example.test/alice", "alice/", "a\\b", "alice\r"}) {
    EXPECT_EQ(Deliver(user), 0) << user;
  }
  EXPECT_EQ(Waiting(), Texts());
  EXPECT_EQ(Inbox("alice"), Texts());
}

TEST_F(LocalDeliveryTest, AMessageIsForwardedTwentyTimes) {
  world_.AddAccount(DOMAIN, "bob", "password",
                    "ForwardEnable=1\nForwardAddr=bob@example.test\nForwardSaveLocal=1\n");
  const std::string in_body = "Subject: s\r\n\r\n" + Times(30, "Received: (Velnor Smtp v1.0) ; then\r\n");
  EXPECT_EQ(Deliver("bob", in_body), 1);
  EXPECT_EQ(Inbox("bob"), Texts());
  DeliverAll();
  EXPECT_EQ(Inbox("bob"), StoredTexts({Times(20, RECEIVED) + in_body}));
  EXPECT_EQ(Waiting(), Texts());
}

TEST_F(LocalDeliveryTest, AListSendsToAllItsMembersWhatAPosterWrites) {
  const std::string list = "bob@example.test";
  const auto copy = [](std::string_view member, std::string_view sender) {
    return SpoolText(member, sender, 1);
  };
  g_SystemConfig.AddMailList(list);
  for (const auto& [member, permission] : {std::pair("alice@example.test", 0),
                                           {"Bob@Example.test", 0},
                                           {"reader@far.test", 1},
                                           {"nobody", -1}}) {
    g_SystemConfig.AddListMember(list, member, permission);
  }
  const struct {
    std::string sender;
    bool posts;
  } cases[] = {{"alice@example.test", true},
               {"ALICE@example.TEST", true},
               {"reader@far.test", false},
               {"nobody", false},
               {"stranger@far.test", false}};
  for (const auto& [sender, posts] : cases) {
    SCOPED_TRACE(sender);
    Forget();
    EXPECT_EQ(Deliver("bob", MESSAGE, sender), 1);
    EXPECT_EQ(Inbox("bob"), StoredTexts({MESSAGE}));
    const Texts copies = {copy("alice@example.test", sender), copy("nobody", sender),
                          copy("reader@far.test", sender)};
    EXPECT_EQ(Waiting(), StoredTexts(posts ? copies : Texts()));
  }
  Forget();
  EXPECT_EQ(Deliver("alice"), 1);
  EXPECT_EQ(Waiting(), Texts());
}

TEST_F(LocalDeliveryTest, AFaultCostsNoMessageAndIsNotTakenForAMissingMailbox) {
  world_.AddAccount(DOMAIN, "bob", "password",
                    "ForwardEnable=1\nForwardAddr=x@far.test\nForwardSaveLocal=1\nResponseEnable=1\n");
  platform::TextReader stream;
  OpenMessage(stream);
  const auto deliver = [&](const char* user) { return LocalDeliver(stream, 77, user, DOMAIN, ALICE); };
  {
    const ResourceLimit limit(RLIMIT_NOFILE, DescriptorsFor(0));
    EXPECT_EQ(deliver("bob"), DELIVERY_FAULT);
    EXPECT_EQ(deliver("BOB"), DELIVERY_FAULT);
  }
  fs::rename(world_.MailRoot(), world_.Root() / "away");
  EXPECT_EQ(deliver("bob"), DELIVERY_FAULT);
  fs::rename(world_.Root() / "away", world_.MailRoot());
  EXPECT_EQ(FileNames(world_.Inbox(DOMAIN, "bob")), Texts());

  // A forward that can't be written counts as none, so the message is stored.
  fs::remove_all(world_.Spool());
  EXPECT_EQ(deliver("bob"), 1);
  EXPECT_EQ(Inbox("bob"), StoredTexts({MESSAGE}));
  // A list's own copy is stored as well, but those for the members are not.
  g_SystemConfig.AddMailList("bob@example.test");
  g_SystemConfig.AddListMember("bob@example.test", ALICE, 0);
  EXPECT_EQ(deliver("bob"), DELIVERY_FAULT);
  ExpectAtMessage(stream);
}

// The process's own memory as a file: the read that leaves the mapped page fails.
TEST_F(LocalDeliveryTest, AReadErrorInMidCopyPublishesNothing) {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  auto* const text = static_cast<char*>(
      ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(static_cast<void*>(text), MAP_FAILED);
  std::memset(text, 'x', page);
  ASSERT_EQ(::munmap(text + page, page), 0);
  platform::TextReader stream;
  ASSERT_EQ(stream.Open("/proc/self/mem"), 0);
  stream.Seek(static_cast<platform::TextReader::Position>(reinterpret_cast<std::uintptr_t>(text)));

  world_.AddAccount(DOMAIN, "bob", "password",
                    "ForwardEnable=1\nForwardAddr=x@far.test\nForwardSaveLocal=1\n");
  EXPECT_EQ(LocalDeliver(stream, 77, "bob", DOMAIN, ALICE), DELIVERY_FAULT);
  EXPECT_EQ(SendBounce(stream, 77, "x@far.test", ALICE, "reason"), DELIVERY_FAULT);
  EXPECT_EQ(RequeueMail(stream, 77, "x@far.test", ALICE, 0), 0);
  for (const fs::path& directory :
       {world_.Spool(), world_.Inbox(DOMAIN, "bob"), world_.Inbox(DOMAIN, "alice")}) {
    EXPECT_EQ(FileNames(directory), Texts());
  }
  ::munmap(text, page);
}

}  // namespace
}  // namespace velnor
