#include "agent/delivery_worker.h"

#include <sys/stat.h>

#include <optional>

#include "agent/agent_world.h"
#include "agent/spool_queue.h"
#include "core/system_config.h"
#include "platform/clock.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace test;
using Texts = std::vector<std::string>;

const std::string NAME = "__s20240101000000000001000002000003";
const std::string FROM_ALICE = " from <alice@example.test> done, retry=";

// The far side of these tests is a domain that no name server can be asked for, so its look-up fails without
// one.
const std::string FAR = "far..test";

// A whole run's log.
Texts Lines(const Texts& lines) {
  Texts run = {"Agent Thread started...[<spool>/" + NAME + "]"};
  run.insert(run.end(), lines.begin(), lines.end());
  run.push_back("Agent Thread ended...");
  return run;
}

std::string Ok(const std::string& address) {
  return "send mail to local user [OK], <" + address + ">";
}

std::string Failed(const std::string& address, const std::string& sender = "alice@example.test") {
  return "send mail to local user [Failed], <" + address + ">, bounce to sender<" + sender + ">";
}

class DeliveryWorkerTest : public AgentWorld {
 protected:
  // Delivers a spool file with this text.
  fs::path Deliver(std::string_view text) {
    const fs::path path = PutSpoolFile(NAME, text);
    RunWorker(path);
    return path;
  }
};

TEST_F(DeliveryWorkerTest, EachRecipientGetsWhatIsDueGroupAfterGroup) {
  const std::string recipients =
      "ann@" + FAR + ",bob@example.test,joe@Far..Test,nobody@Example.TEST,,alice,alice@example.test";
  EXPECT_FALSE(fs::exists(Deliver(SpoolText(recipients, ALICE, 1))));
  EXPECT_EQ(Log(), Lines({"can not resolve mx address(far..test)",
                          "send mail [FALSE] to far..test" + FROM_ALICE + "1", Ok("bob@example.test"),
                          Failed("nobody@example.test"), Ok("alice@example.test"),
                          "send mail [TRUE] to example.test" + FROM_ALICE + "1"}));
  EXPECT_EQ(Inbox("bob"), StoredTexts({MESSAGE}));
  EXPECT_EQ(Inbox("alice"),
            StoredTexts({MESSAGE, NoticeText(ALICE, "nobody@example.test", "550 Invalid User")}));
  EXPECT_EQ(Waiting(), StoredTexts({SpoolText("ann@" + FAR, ALICE, 2), SpoolText("joe@" + FAR, ALICE, 2)}));
}

TEST_F(DeliveryWorkerTest, TheLastRecipientGivesTheWordOfALocalGroup) {
  const std::string stranger = "stranger@far.test";
  Deliver(SpoolText("bob@example.test,nobody@example.test,bob@example.test", stranger, 0));
  EXPECT_EQ(Log(),
            Lines({Ok("bob@example.test"), Failed("nobody@example.test", stranger), Ok("bob@example.test"),
                   "send mail [TRUE] to example.test from <" + stranger + "> done, retry=0"}));
  EXPECT_EQ(Inbox("bob"), StoredTexts({MESSAGE, MESSAGE}));
  Deliver(SpoolText("bob@example.test,nobody@example.test", stranger, 0));
  EXPECT_EQ(Log(), Lines({Ok("bob@example.test"), Failed("nobody@example.test", stranger),
                          "send mail [FALSE] to example.test from <" + stranger + "> done, retry=0"}));
  EXPECT_EQ(Waiting(), Texts());
}

TEST_F(DeliveryWorkerTest, AHeadIsReadAsItIsAndABrokenOneIsDropped) {
  const std::string forward = "Forward-Path: bob@example.test\r\n";
  const std::string sender = "Return-Path: alice@example.test\r\n";
  const struct {
    std::string head;
    std::optional<int> retries;  // none: nothing happens at all
  } cases[] = {
      {forward + sender + "Retry-Times: 3\r\n", 3},
      {"forward-path:bob@example.test\nRETURN-PATH: \t alice@example.test \t\nretry-times:2 \n", 2},
      {"Forward-Path: " + std::string(5000, ',') + "bob@example.test\r\n" + sender + "Retry-Times:\r\n", 0},
      {forward + sender + "Retry-Times: many\r\n", 0},
      {forward + sender + "Retry-Times: -1x\r\n", -1},
      {forward + sender + "Retry-Times:          7\r\n", 0},
      {"", {}},
      {"\r\n" + forward + sender + "Retry-Times: 0\r\n", {}},
      {"Forward-Path : bob@example.test\r\n" + sender + "Retry-Times: 0\r\n", {}},
      {"Forward-Path: bob\r\n" + sender + "Retry-Times: 0\r\n", {}},
      {"Forward-Path:\r\n" + sender + "Retry-Times: 0\r\n", {}},
      {sender + forward + "Retry-Times: 0\r\n", {}},
      {forward + "Retry-Times: 0\r\n" + sender, {}},
      {forward + "Return-Path: alice\r\nRetry-Times: 0\r\n", {}},
      {forward + "Return-Path: " + std::string(200, 'x') + "@example.test\r\nRetry-Times: 0\r\n", {}},
      {forward + "Return-Path: alice@example.test" + std::string(1100, ' ') + "\r\nRetry-Times: 0\r\n", {}},
      {forward + sender, {}},
      {"\0\0\0\0"s + forward + sender + "Retry-Times: 0\r\n", {}},
  };
  for (const auto& [head, retries] : cases) {
    SCOPED_TRACE(head.substr(0, 200));
    EXPECT_FALSE(fs::exists(Deliver(head + MESSAGE)));
    const std::string result =
        "send mail [TRUE] to example.test" + FROM_ALICE + std::to_string(retries.value_or(0));
    EXPECT_EQ(Log(), Lines(retries ? Texts{Ok("bob@example.test"), result} : Texts()));
    EXPECT_EQ(Inbox("bob"), StoredTexts(retries ? Texts{MESSAGE} : Texts()));
    for (const std::string& name : FileNames(world_.Inbox(DOMAIN, "bob"))) {
      fs::remove(world_.Inbox(DOMAIN, "bob") / name);
    }
  }
  for (const std::string& end : {forward, forward + sender, forward + sender + "Retry-Times: 0"}) {
    EXPECT_FALSE(fs::exists(Deliver(end.substr(0, end.find_last_not_of("\r\n") + 1))));
    EXPECT_EQ(Log(), Lines({}));
  }
  Deliver(forward + sender + "Retry-Times: 0\r\n");
  EXPECT_EQ(Inbox("bob"), Texts{""});
}

TEST_F(DeliveryWorkerTest, AfterFourAttemptsTheSenderIsToldOnce) {
  const std::string text = SpoolText("ann@" + FAR, ALICE, 0);
  const std::string give_up = "can not connect the remote SMTP server";
  PutSpoolFile("s20240101000000000001000002000003", text);
  DeliverAll();
  Texts results;
  for (const std::string& line : Log()) {
    if (line.find("done, retry=") != std::string::npos) results.push_back(line);
  }
  Texts expected;
  for (int i = 0; i < 4; ++i)
    expected.push_back("send mail [FALSE] to far..test" + FROM_ALICE + std::to_string(i));
  EXPECT_EQ(results, expected);
  EXPECT_EQ(Inbox("alice"), StoredTexts({NoticeText(ALICE, "ann@" + FAR, give_up)}));
  EXPECT_EQ(FileNames(world_.Spool()), Texts());

  for (const std::string& sender : {"alice@example.test"s, "stranger@far.test"s}) {
    EXPECT_FALSE(fs::exists(Deliver(SpoolText("bob@example.test,ann@far.test", sender, 4))));
    EXPECT_EQ(Log(), Lines({}));
  }
  EXPECT_EQ(Inbox("alice"), StoredTexts({NoticeText(ALICE, "bob@example.test,ann@far.test", give_up),
                                         NoticeText(ALICE, "ann@" + FAR, give_up)}));
  EXPECT_EQ(Inbox("bob"), Texts());
}

TEST_F(DeliveryWorkerTest, AHundredRecipientsOfADomainAreServedHoweverLongTheirList) {
  std::string recipients;
  Texts expected;
  for (int i = 1; i <= 101; ++i) {
    const std::string address = "user" + std::to_string(i) + "@example.test";
    recipients += address + ",";
    if (i <= 100) expected.push_back(Failed(address, "stranger@far.test"));
  }
  expected.push_back("send mail [FALSE] to example.test from <stranger@far.test> done, retry=0");
  expected.push_back("can not resolve mx address(far..test)");
  expected.push_back("send mail [FALSE] to far..test from <stranger@far.test> done, retry=0");
  Deliver(SpoolText(recipients + "ann@" + FAR, "stranger@far.test", 0));
  EXPECT_EQ(Log(), Lines(expected));
  EXPECT_EQ(Waiting(), StoredTexts({SpoolText("ann@" + FAR, "stranger@far.test", 1)}));
}

TEST_F(DeliveryWorkerTest, AFileThatIsNotThereIsPassedOverAndOneThatCantBeReadIsKept) {
  const fs::path path = world_.Spool() / NAME;
  RunWorker(path);
  EXPECT_EQ(Log(), Lines({}));
  const Texts kept = Lines({"spool file is kept for the next start, <spool>/" + NAME});
  fs::create_directory(path);
  RunWorker(path);
  EXPECT_EQ(Log(), kept);
  fs::remove(path);
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  RunWorker(path);
  EXPECT_EQ(Log(), kept);
  fs::remove(path);
  // Nothing can be read at the beginning of a process's memory.
  fs::create_symlink("/proc/self/mem", path);
  RunWorker(path);
  EXPECT_EQ(Log(), kept);
  EXPECT_TRUE(fs::is_symlink(path));
}

enum class Fault { FILE_SIZE, NO_FILE, ONE_FILE, NO_MAIL_ROOT };

struct Road {
  const char* Recipients;
  Texts Alice, Bob, Team;  // what each finds in the Inbox in the end
};

class DeliveryFaultTest : public DeliveryWorkerTest,
                          public testing::WithParamInterface<std::tuple<Road, Fault>> {
 protected:
  void RunWithFault(const fs::path& path) {
    const std::string mail_path = g_SystemConfig.MailPath.Get();
    std::optional<ResourceLimit> limit;
    switch (std::get<Fault>(GetParam())) {
      case Fault::FILE_SIZE:
        limit.emplace(RLIMIT_FSIZE, 2000);
        break;
      case Fault::NO_FILE:
        limit.emplace(RLIMIT_NOFILE, DescriptorsFor(0));
        break;
      case Fault::ONE_FILE:
        limit.emplace(RLIMIT_NOFILE, DescriptorsFor(1));
        break;
      case Fault::NO_MAIL_ROOT:
        g_SystemConfig.MailPath.Set((world_.Root() / "away").string());
        break;
    }
    RunWorker(path);
    g_SystemConfig.MailPath.Set(mail_path);
  }
};

TEST_P(DeliveryFaultTest, KeepsTheMessageForTheNextStart) {
  const Road& road = std::get<Road>(GetParam());
  world_.AddAccount(DOMAIN, "team", "password");
  g_SystemConfig.AddMailList("team@example.test");
  g_SystemConfig.AddListMember("team@example.test", ALICE, 0);
  const fs::path path = PutSpoolFile(NAME, SpoolText(road.Recipients, ALICE, 3));
  const std::string bytes = ReadFile(path);

  RunWithFault(path);
  EXPECT_EQ(ReadFile(path), bytes);
  EXPECT_EQ(FileNames(world_.Spool()), Texts{NAME});
  for (const char* user : {"alice", "bob", "team"}) EXPECT_EQ(FileNames(world_.Inbox(DOMAIN, user)), Texts());
  const Texts log = Log();
  ASSERT_GE(log.size(), 3U);
  EXPECT_EQ(log[log.size() - 2], "spool file is kept for the next start, <spool>/" + NAME);

  RecoverSpool();
  DeliverAll();
  EXPECT_EQ(FileNames(world_.Spool()), Texts());
  EXPECT_EQ(Inbox("alice"), StoredTexts(road.Alice));
  EXPECT_EQ(Inbox("bob"), StoredTexts(road.Bob));
  EXPECT_EQ(Inbox("team"), StoredTexts(road.Team));
}

INSTANTIATE_TEST_SUITE_P(
    AllRoads, DeliveryFaultTest,
    testing::Combine(
        testing::Values(Road{"bob@example.test", {}, {MESSAGE}, {}},
                        Road{"bob@example.test,team@example.test", {MESSAGE}, {MESSAGE}, {MESSAGE}},
                        Road{"nobody@example.test",
                             {NoticeText(ALICE, "nobody@example.test", "550 Invalid User")},
                             {},
                             {}},
                        Road{"ann@far..test",
                             {NoticeText(ALICE, "ann@far..test", "can not connect the remote SMTP server")},
                             {},
                             {}}),
        testing::Values(Fault::FILE_SIZE, Fault::NO_FILE, Fault::ONE_FILE, Fault::NO_MAIL_ROOT)));

}  // namespace
}  // namespace velnor
