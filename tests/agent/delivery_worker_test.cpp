#include "agent/delivery_worker.h"

#include "agent/agent_world.h"
#include "agent/spool_queue.h"
#include "core/system_config.h"
#include "platform/clock.h"
#include "support/dialogue.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace test;

const std::string NAME = "__s20240101000000000001000002000003";
const std::string GIVE_UP = "can not connect the remote SMTP server";

// The far side of these tests is a domain that no name server can be asked for, so its look-up fails without
// one.
const std::string FAR = "far..test";

class DeliveryWorkerTest : public AgentWorld {
 protected:
  // Runs a worker on a spool file with this text; whether the file was kept, and the log says so.
  bool IsKept(const std::string& text) {
    PutSpoolFile(NAME, text);
    RunWorker(Path());
    return LogKept() && fs::exists(Path());
  }
  bool LogKept() {
    const auto log = world_.LogMessages();
    return log.at(log.size() - 2).ends_with("]spool file is kept for the next start, " + Path().string());
  }
  fs::path Path() const { return world_.Spool() / NAME; }
};

TEST_F(DeliveryWorkerTest, EachRecipientGetsWhatIsDue) {
  const std::string recipients =
      "ann@" + FAR + ",bob@example.test,joe@Far..Test,nobody@Example.TEST,,alice,alice@example.test";
  EXPECT_FALSE(IsKept(SpoolText(recipients, ALICE, 1)));
  EXPECT_EQ(Replaced(ThreadLog(world_), world_.Spool().string(), "<spool>"),
            "[id]Agent Thread started...[<spool>/" + NAME +
                "]|"
                "[id]can not resolve mx address(far..test)|"
                "[id]send mail [FALSE] to far..test from <alice@example.test> done, retry=1|"
                "[id]send mail to local user [OK], <bob@example.test>|"
                "[id]send mail to local user [Failed], <nobody@example.test>, bounce to "
                "sender<alice@example.test>|"
                "[id]send mail to local user [OK], <alice@example.test>|"
                "[id]send mail [TRUE] to example.test from <alice@example.test> done, retry=1|"
                "[id]Agent Thread ended...|");
  EXPECT_EQ(Inbox("bob"), Texts{MESSAGE});
  EXPECT_EQ(Inbox("alice"), (Texts{MESSAGE, NoticeText(ALICE, "nobody@example.test", "550 Invalid User")}));
  EXPECT_EQ(FileNames(world_.Spool()).size(), 2U);
  EXPECT_EQ(Waiting(), (Texts{SpoolText("ann@" + FAR, ALICE, 2), SpoolText("joe@" + FAR, ALICE, 2)}));
}

TEST_F(DeliveryWorkerTest, ABrokenHeadIsDroppedAndBehindTheLastAttemptTheSenderAloneIsTold) {
  const std::string forward = "Forward-Path: bob@example.test\r\n";
  const std::string sender = "Return-Path: alice@example.test\r\n";
  const std::string retries = "Retry-Times: 0\r\n";
  const std::string both = "bob@example.test,ann@far.test";
  const std::string undelivered[] = {
      "",
      forward + sender + "Retry-Times: 0",
      "Forward-Path: bob\r\n" + sender + retries,
      sender + forward + retries,
      forward + "Return-Path: alice\r\n" + retries,
      forward + "Return-Path: " + std::string(200, 'x') + "@example.test\r\n" + retries,
      "\0\0\0\0"s + forward + sender + retries,
      SpoolText(both, ALICE, 4),
      SpoolText(both, "stranger@far.test", 4),
  };
  for (const std::string& text : undelivered) EXPECT_FALSE(IsKept(text)) << text;
  EXPECT_EQ(Inbox("alice"), (Texts{NoticeText(ALICE, both, GIVE_UP)}));
  EXPECT_EQ(Inbox("bob"), Texts());
  EXPECT_FALSE(IsKept("Forward-Path: " + std::string(5000, ',') + "bob@example.test\r\n" + sender + retries));
  EXPECT_EQ(Inbox("bob"), Texts{""}) << "a long head, and an empty text";
  EXPECT_EQ(FileNames(world_.Spool()).size(), 0U);
}

TEST_F(DeliveryWorkerTest, AFileThatIsNotThereIsPassedOverAndOneThatCantBeReadIsKept) {
  RunWorker(Path());
  EXPECT_FALSE(LogKept());
  fs::create_directory(Path());
  RunWorker(Path());
  EXPECT_TRUE(LogKept());
  fs::remove(Path());
  // Nothing can be read at the beginning of a process's memory.
  fs::create_symlink("/proc/self/mem", Path());
  RunWorker(Path());
  EXPECT_TRUE(LogKept() && fs::is_symlink(Path()));
}

TEST_F(DeliveryWorkerTest, AFaultOnAnyRoadKeepsTheMessageForTheNextStart) {
  world_.AddAccount(DOMAIN, "team", "password");
  g_SystemConfig.AddMailList("team@example.test");
  g_SystemConfig.AddListMember("team@example.test", ALICE, 0);
  const std::pair<std::string, Texts> roads[] = {
      {SpoolText("bob@example.test", ALICE, 3), {MESSAGE}},
      {SpoolText("bob@example.test,team@example.test", ALICE, 3), {MESSAGE, MESSAGE, MESSAGE}},
      {SpoolText("nobody@example.test", ALICE, 3),
       {NoticeText(ALICE, "nobody@example.test", "550 Invalid User")}},
      {SpoolText("ann@" + FAR, ALICE, 3), {NoticeText(ALICE, "ann@" + FAR, GIVE_UP)}},
      {SpoolText("ann@" + FAR, ALICE, 4), {NoticeText(ALICE, "ann@" + FAR, GIVE_UP)}},
  };
  const auto take_inboxes = [this] {
    Texts texts;
    for (const char* user : {"alice", "bob", "team"}) {
      texts.merge(Inbox(user));
      fs::remove_all(world_.Inbox(DOMAIN, user));
      fs::create_directory(world_.Inbox(DOMAIN, user));
    }
    return texts;
  };
  const fs::path away = world_.Root() / "away";
  const struct {
    __rlimit_resource Limited;
    rlim_t Most;
    fs::path MailRoot;
  } faults[] = {
      {RLIMIT_FSIZE, 2000, world_.MailRoot()},
      {RLIMIT_NOFILE, DescriptorsFor(0), world_.MailRoot()},
      {RLIMIT_NOFILE, DescriptorsFor(1), world_.MailRoot()},
      {RLIMIT_FSIZE, RLIM_INFINITY, away},
  };
  for (const auto& [text, due] : roads) {
    for (const auto& [limited, most, mail_root] : faults) {
      SCOPED_TRACE(text.substr(0, 100) + " with fault " + std::to_string(most));
      const std::string bytes = ReadFile(PutSpoolFile(NAME, text));
      g_SystemConfig.MailPath.Set(mail_root.string());
      {
        const ResourceLimit limit(limited, most);
        RunWorker(Path());
      }
      g_SystemConfig.MailPath.Set(world_.MailRoot().string());
      EXPECT_TRUE(LogKept());
      EXPECT_EQ(ReadFile(Path()), bytes);
      EXPECT_EQ(FileNames(world_.Spool()), std::vector{NAME});
      EXPECT_EQ(take_inboxes(), Texts());

      RecoverSpool();
      DeliverAll();
      EXPECT_EQ(FileNames(world_.Spool()).size(), 0U);
      EXPECT_EQ(take_inboxes(), due);
    }
  }
}

}  // namespace
}  // namespace velnor
