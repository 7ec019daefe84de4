#include "agent/delivery_worker.h"

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
const std::string GIVE_UP = "can not connect the remote SMTP server";
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

std::string Failed(const std::string& address) {
  return "send mail to local user [Failed], <" + address + ">, bounce to sender<alice@example.test>";
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

TEST_F(DeliveryWorkerTest, ABrokenHeadIsDroppedAndATextMayBeEmpty) {
  const std::string forward = "Forward-Path: bob@example.test\r\n";
  const std::string sender = "Return-Path: alice@example.test\r\n";
  const std::string retries = "Retry-Times: 0\r\n";
  const std::string broken[] = {
      "",
      forward + sender + "Retry-Times: 0",
      "Forward-Path: bob\r\n" + sender + retries,
      "Forward-Path:\r\n" + sender + retries,
      sender + forward + retries,
      forward + "Return-Path: alice\r\n" + retries,
      forward + "Return-Path: " + std::string(200, 'x') + "@example.test\r\n" + retries,
      "\0\0\0\0"s + forward + sender + retries,
  };
  for (const std::string& text : broken) {
    EXPECT_FALSE(fs::exists(Deliver(text))) << text;
    EXPECT_EQ(Log(), Lines({})) << text;
  }
  EXPECT_EQ(Inbox("bob"), Texts());
  Deliver("Forward-Path: " + std::string(5000, ',') + "bob@example.test\r\n" + sender + retries);
  EXPECT_EQ(Inbox("bob"), Texts{""});
}

TEST_F(DeliveryWorkerTest, BehindTheLastAttemptTheSenderAloneIsTold) {
  for (const std::string& sender : {"alice@example.test"s, "stranger@far.test"s}) {
    EXPECT_FALSE(fs::exists(Deliver(SpoolText("bob@example.test,ann@far.test", sender, 4))));
    EXPECT_EQ(Log(), Lines({}));
  }
  EXPECT_EQ(Inbox("alice"), StoredTexts({NoticeText(ALICE, "bob@example.test,ann@far.test", GIVE_UP)}));
  EXPECT_EQ(Inbox("bob"), Texts());
  EXPECT_EQ(Waiting(), Texts());
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
    const Fault fault = std::get<Fault>(GetParam());
    if (fault == Fault::FILE_SIZE) limit.emplace(RLIMIT_FSIZE, 2000);
    if (fault == Fault::NO_FILE) limit.emplace(RLIMIT_NOFILE, DescriptorsFor(0));
    if (fault == Fault::ONE_FILE) limit.emplace(RLIMIT_NOFILE, DescriptorsFor(1));
    if (fault == Fault::NO_MAIL_ROOT) g_SystemConfig.MailPath.Set((world_.Root() / "away").string());
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
                        Road{"ann@far..test", {NoticeText(ALICE, "ann@far..test", GIVE_UP)}, {}, {}}),
        testing::Values(Fault::FILE_SIZE, Fault::NO_FILE, Fault::ONE_FILE, Fault::NO_MAIL_ROOT)));

}  // namespace
}  // namespace velnor
