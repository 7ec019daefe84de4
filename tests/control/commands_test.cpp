#include <gtest/gtest.h>

#include "control_world.h"
#include "core/accounts.h"
#include "core/system_config.h"

namespace velnor::test {
namespace {

// One command and what it comes to. The words must hold `Err`; with none expected there must be none.
struct Step {
  const char* Line;
  int Status = 0;
  const char* Out = "";
  const char* Err = "";
  std::vector<std::string> Input = {};
};

void RunSteps(ControlWorld& world, const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    SCOPED_TRACE(step.Line);
    const Outcome outcome = world.Run(step.Line, step.Input);
    EXPECT_EQ(outcome.Status, step.Status) << outcome.Err;
    EXPECT_EQ(outcome.Out, step.Out);
    EXPECT_EQ(outcome.Err.empty(), *step.Err == '\0') << outcome.Err;
    EXPECT_NE(outcome.Err.find(step.Err), std::string::npos) << outcome.Err;
  }
}

TEST(Commands, Domains) {
  ControlWorld world;
  const std::vector<Step> steps = {
      {"domain list"},
      {"domain add one.test"},
      {"domain add two.test"},
      {"domain add ONE.test", 1, "", "Already has the same domain"},
      {"domain rename none.test x.test", 1, "", "No the record"},
      {"domain rename one.test two.test", 1, "", "Already has the same domain"},
      {"domain rename one.test new.test --yes"},
      {"domain delete two.test", 1, "", "Nothing was changed."},
      {"domain delete two.test", 0, "", "Are you sure delete the domain?", {"YES"}},
      {"domain list", 0, "new.test\n"},
      {"domain list --json", 0, "[{\"domain\": \"new.test\"}]\n"},
  };
  RunSteps(world, steps);
  EXPECT_EQ(FileNames(world.World.MailRoot()), (std::vector<std::string>{"new.test", "send"}));
  EXPECT_NE(ReadFile(world.World.Work() / "velnor.ini").find("LocalDomain=new.test|"), std::string::npos);
  const std::string longest(27, 'x');
  for (int i = 100; i < 132; ++i) world.Run("domain add " + longest + std::to_string(i));
  const Outcome full = world.Run("domain rename new.test " + longest + "new --yes");
  EXPECT_EQ(full.Err, "The list of the domains has no room for this name.\n");
}

TEST(Commands, Users) {
  ControlWorld world;
  const std::vector<Step> steps = {
      {"user add a@one.test", 1, "", "No domain, please check!"},
      {"domain add one.test"},
      {"user add a@two.test", 1, "", "two.test is no local domain."},
      {"user add one.test", 1, "", "is no address"},
      {"user add a@one.test", 1, "", "No password was given.", {""}},
      {"user add a@one.test Password=x", 1, "", "not taken from the command line", {"secret"}},
      {"user add a@one.test Pop3Enable=2", 1, "", "\"Pop3 Enable\" accepts", {"secret"}},
      {"user list --json", 0, "[]\n"},
      {"user add Ann@one.test Pop3Enable=1 username=Annie", 0, "", "", {"secret"}},
      {"user add ann@ONE.test", 1, "", "Already has the same record", {"other"}},
      {"user add bob@one.test", 0, "", "can't log on", {"secret"}},
      {"user list one.test", 0,
       "address       name   pop3  smtp\nAnn@one.test  Annie  yes   no\nbob@one.test         no    no\n"},
      {"user set ann@one.test Quota=1", 1, "", "There is no setting \"Quota\"."},
      {"user set ann@one.test MailBoxSize 7 MaxMailNum=3"},
      {"mailbox ann@one.test --json", 0,
       "{\"address\": \"Ann@one.test\", \"messages\": 0, \"bytes\": 0, \"quota_messages\": 3, "
       "\"quota_bytes\": 7340032}\n"},
      {"user password ann@one.test", 0, "", "", {"changed"}},
      {"user delete bob@one.test --yes"},
      {"user list --json", 0,
       "[{\"address\": \"Ann@one.test\", \"name\": \"Annie\", \"pop3\": true, \"smtp\": false}]\n"},
  };
  RunSteps(world, steps);
  EXPECT_EQ(LoadProfile("one.test", "Ann").Password, "changed");
  EXPECT_EQ(world.Run("user show ann@one.test").Out.find("changed"), std::string::npos);
  // A person types it twice.
  const Outcome differ = world.Run("user password ann@one.test", {"new", "now"}, true);
  EXPECT_EQ(differ.Status, 1);
  EXPECT_EQ(differ.Err, "Password: The same again: The two passwords differ.\n");
  EXPECT_EQ(LoadProfile("one.test", "Ann").Password, "changed");
  EXPECT_EQ(world.Run("user password ann@one.test", {"new", "new"}, true).Status, 0);
  EXPECT_EQ(LoadProfile("one.test", "Ann").Password, "new");
}

TEST(Commands, MailLists) {
  ControlWorld world;
  world.World.AddAccount("one.test", "list", "secret");
  g_SystemConfig.SaveDomains();
  const std::vector<Step> steps = {
      {"maillist add list", 1, "", "\"List Addr\" accepts an address"},
      {"maillist add #l@one.test", 1, "", "begins with none of"},
      {"maillist add list@one.test"},
      {"maillist add other@one.test", 0, "", "No account stands behind the list"},
      {"maillist add-member none@one.test a@b.test", 1, "", "No the record"},
      {"maillist add-member list@one.test ab", 1, "", "\"Email Addr\" accepts an address"},
      {"maillist add-member list@one.test a@b.test"},
      {"maillist add-member list@one.test c@d.test --read-only"},
      {"maillist remove-member list@one.test x@y.test", 1, "", "There is not the email addr"},
      {"maillist members list@one.test", 0, "address   permission\na@b.test  RW\nc@d.test  R\n"},
      {"maillist remove-member list@one.test a@b.test", 1, "", "Nothing was changed."},
      {"maillist remove-member list@one.test a@b.test", 0, "", "Are you sure remove", {"y"}},
      {"maillist add-member list@one.test a@b.test"},
      {"maillist remove-member list@one.test A@b.test --yes"},
      {"maillist delete other@one.test --yes"},
      {"maillist delete other@one.test --yes", 1, "", "No the record"},
      {"maillist list --json", 0, "[{\"list\": \"list@one.test\", \"members\": 1}]\n"},
  };
  RunSteps(world, steps);
}

TEST(Commands, Rules) {
  ControlWorld world;
  const std::vector<Step> steps = {
      {"rule add 192.168.*"},
      {"rule add list"},  // an argument may be called as a command is
      {"rule test 192.168.1.5", 1, "address: 192.168.1.5\nforbidden: yes\nrule: 192.168.*\n"},
      {"rule test 10.0.0.1 --json", 0, "{\"address\": \"10.0.0.1\", \"forbidden\": false, \"rule\": null}\n"},
      {"rule test one.test", 1, "", "is no IPv4 address"},
      {"rule delete 10.0.0.1 --yes", 1, "", "No the record"},
      {"rule delete list", 0, "", "Are you sure delete the rule?", {"y"}},
      {"rule add *.*", 0, "", "forbids every peer"},
      {"rule list", 0, "192.168.*\n*.*\n"},
  };
  RunSteps(world, steps);
  EXPECT_EQ(ReadFile(world.World.App() / "rules.ini"), "192.168.*\r\n*.*\r\n");
}

TEST(Commands, Settings) {
  ControlWorld world;
  const std::vector<Step> steps = {
      {"config get none", 1, "", "There is no setting \"none\"."},
      {"config set SmtpPort 65535", 1, "", "\"SMTP\" accepts a whole number from 0 to 65534."},
      {"config set LogToFile=2", 1, "", "\"Log to File\" accepts"},
      {"config get localdomain --json", 0, "[{\"LocalDomain\": []}]\n"},
      {"config set LocalDomain=a.test", 1, "", "by \"velnorctl domain\""},
      {"config set WebPath=/", 1, "", "Nothing uses \"WebPath\"."},
      {"config get smtpport", 0, "25\n"},
      {"config set smtpport 2525 Pop3Port=1110", 0, "", "Operation is successful"},
      {"config get SmtpPort --json", 0, "[{\"SmtpPort\": 2525}]\n"},
      {"config set MailPath=/nowhere/at/all", 0, "", "/nowhere/at/all is no directory"},
  };
  RunSteps(world, steps);
  // A value that was bad before is named, and can be mended in the same command as another.
  WriteFile(world.World.Work() / "velnor.ini", "[System]\nMaxSizePerMail=99\nSmtpPort=99999\n");
  RunSteps(world, {{"config set SmtpPort=25", 1, "", "MaxSizePerMail in velnor.ini is not accepted."},
                   {"config set SmtpPort=25 MaxSizePerMail=9", 0, "", "Operation is successful"}});
}

TEST(CommandLine, HelpGivesNoneAndWrongOnesGiveTwo) {
  ControlWorld world;
  EXPECT_NE(world.Run("config set --help").Out.find("Usage: velnorctl config set [OPT"), std::string::npos);
  const std::string before = ReadFile(world.World.Work() / "velnor.ini");
  for (const char* line :
       {"", "domain", "bogus", "domain bogus", "domain add", "domain add a b", "config set",
        "user set a@one.test", "config set SmtpPort", "user set a@one.test Pop3Enable=1 MaxMailNum",
        "domain add a --bogus", "domain add a --read-only"}) {
    SCOPED_TRACE(line);
    const Outcome outcome = world.Run(line);
    EXPECT_EQ(outcome.Status, 2);
    EXPECT_EQ(outcome.Out, "");
    EXPECT_NE(outcome.Err, "");
  }
  EXPECT_EQ(ReadFile(world.World.Work() / "velnor.ini"), before);
}

TEST(CommandLine, ReadingMakesNothing) {
  ControlWorld world;
  namespace fs = std::filesystem;
  const fs::path work = world.World.Work();
  const char* const lines[] = {"config show",   "config check", "domain list", "user list",
                               "maillist list", "rule list",    "queue list",  "metrics"};
  WriteFile(work / "velnor.ini",
            "[System]\nMailPath=" + world.World.MailRoot().string() + "\nLocalDomain=one.test|\n");
  for (const fs::path& path : {work / "maillist.ini", work / "logs", world.World.Spool()}) {
    fs::remove_all(path);
  }
  for (const char* line : lines) world.Run(line);
  EXPECT_EQ(world.Run("domain list").Out, "one.test\n");
  EXPECT_EQ(FileNames(work), std::vector<std::string>{"velnor.ini"});
  EXPECT_EQ(FileNames(world.World.MailRoot()), std::vector<std::string>{});

  fs::remove(work / "velnor.ini");
  for (const char* line : lines) {
    EXPECT_NE(world.Run(line).Err.find("There is no velnor.ini in " + work.string()), std::string::npos);
  }
  EXPECT_EQ(world.Run("domain list --directory " + (work / "none").string()).Status, 1);
  EXPECT_EQ(FileNames(work), std::vector<std::string>{});
  EXPECT_EQ(world.Run("config set MailPath=" + world.World.MailRoot().string()).Status, 0);
  EXPECT_EQ(world.Run("domain add one.test").Status, 0);
}

}  // namespace
}  // namespace velnor::test
