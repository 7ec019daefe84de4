// What a command could not read is neither lost by its save nor reported as if it were not there.
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include "control_world.h"
#include "core/system_config.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

constexpr uid_t OTHER = 54321;

// While it lives, an administrator's test touches files as another account.
class OtherAccount {
 public:
  OtherAccount() { ::setfsuid(OTHER); }
  ~OtherAccount() { ::setfsuid(::geteuid()); }
};

void Allow(const fs::path& path, mode_t mode) {
  ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

void ExpectRefused(ControlWorld& world, const std::string& line, const std::string& words) {
  SCOPED_TRACE(line);
  const Outcome outcome = world.Run(line + " --yes");
  EXPECT_EQ(outcome.Status, 1);
  EXPECT_EQ(outcome.Out, "");
  EXPECT_NE(outcome.Err.find(words), std::string::npos) << outcome.Err;
}

TEST(KeptData, FilesThatCantBeRead) {
  ControlWorld world;
  world.Run("rule add 10.*");
  world.Run("maillist add list@one.test");
  world.Run("maillist add-member list@one.test a@b.test");
  const fs::path rules = world.World.App() / "rules.ini";
  const fs::path lists = world.World.Work() / "maillist.ini";
  const std::string before = ReadFile(rules) + ReadFile(lists);
  Allow(world.World.Root(), 0755);
  for (const fs::path& file : {rules, lists}) {
    // The other account could replace the files. For an ordinary one they are its own anyway.
    ASSERT_TRUE(::chown(file.parent_path().c_str(), OTHER, OTHER) == 0 || ::geteuid() != 0);
    Allow(file.parent_path(), 0755);
    Allow(file, 0);
  }
  {
    const OtherAccount other;
    for (const char* line : {"rule list", "rule add 11.*", "rule delete 10.*", "rule test 10.0.0.1"}) {
      ExpectRefused(world, line, rules.string() + ": Permission denied");
    }
    for (const char* line : {"list", "add new@one.test", "delete list@one.test", "members list@one.test",
                             "add-member list@one.test c@d.test", "remove-member list@one.test a@b.test"}) {
      ExpectRefused(world, std::string("maillist ") + line, lists.string() + ": Permission denied");
    }
  }
  for (const fs::path& file : {rules, lists}) Allow(file, 0600);
  EXPECT_EQ(ReadFile(rules) + ReadFile(lists), before);
}

TEST(KeptData, DomainsThatWereNotLoaded) {
  ControlWorld world;
  const fs::path ini = world.World.Work() / "velnor.ini";
  const std::string head = "[System]\nMailPath=" + world.World.MailRoot().string() + "\nLocalDomain=";
  const char* const changes[] = {"domain add three.test", "domain rename one.test x.test",
                                 "domain delete one.test"};
  WriteFile(ini, head + "one.test|bad/x|two.test|\n");
  for (const char* line : changes) ExpectRefused(world, line, "\"bad/x\" can be no domain.");
  EXPECT_NE(ReadFile(ini).find("=one.test|bad/x|two.test|\n"), std::string::npos);
  EXPECT_EQ(world.Run("config set SmtpPort=26").Status, 0);
  EXPECT_EQ(world.Run("domain add three.test --force").Status, 0);
  EXPECT_NE(ReadFile(ini).find("=one.test|two.test|three.test|\n"), std::string::npos);

  std::string list = "one.test|";
  for (const char letter : {'a', 'b', 'c', 'd', 'e'}) list += std::string(240, letter) + '|';
  WriteFile(ini, head + list + "\n");
  const std::vector<std::string> directories = FileNames(world.World.MailRoot());
  for (const char* line : changes) ExpectRefused(world, line, "is read only to its character 1022.");
  ExpectRefused(world, "config set SmtpPort=27", "has more than 1022 characters");
  EXPECT_EQ(ReadFile(ini), head + list + "\n");
  EXPECT_EQ(FileNames(world.World.MailRoot()), directories);
}

TEST(KeptData, MailboxThatCantBeRead) {
  ControlWorld world;
  const fs::path account = world.World.AddAccount("one.test", "ann", "secret");
  g_SystemConfig.SaveDomains();
  const fs::path inbox = world.World.Inbox("one.test", "ann");
  WriteFile(inbox / "nmail", "text");
  const fs::path domain = account.parent_path();
  for (const fs::path& path :
       {world.World.Root(), world.World.Spool(), domain, account, inbox.parent_path()}) {
    Allow(path, 0755);
  }
  Allow(account / "config.ini", 0644);
  struct Row {
    fs::path Directory;
    mode_t Mode;
    std::vector<const char*> Lines;
  };
  const std::vector<Row> rows = {
      {inbox, 0, {"mailbox ann@one.test", "metrics"}},
      {inbox, 0444, {"mailbox ann@one.test", "metrics"}},  // names and nothing else
      {account, 0, {"user list", "metrics"}},
      {domain, 0444, {"user list", "metrics"}}};
  for (const Row& row : rows) {
    Allow(row.Directory, row.Mode);
    {
      const OtherAccount other;
      for (const char* line : row.Lines) {
        ExpectRefused(world, line, row.Directory.string() + " can't be read by this account.");
      }
    }
    Allow(row.Directory, 0755);
  }
  EXPECT_NE(world.Run("mailbox ann@one.test").Out.find("messages: 1\nbytes: 4\n"), std::string::npos);
}

}  // namespace
}  // namespace velnor::test
