#include "control/config_check.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "control/mail_list_check.h"
#include "control_world.h"
#include "core/system_config.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

void Allow(const fs::path& path, mode_t mode) {
  ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

class ConfigCheckTest : public ::testing::Test {
 protected:
  // A configuration without a fault.
  ConfigCheckTest() {
    world_.Run("config set LogToFile=0");
    world_.Run("domain add one.test");
    for (const char* user : {"ann", "list"}) {
      world_.Run(std::string("user add ") + user + "@one.test Pop3Enable=1", {"secret"});
    }
    world_.Run("maillist add list@one.test");
    for (const fs::path& path : {Mail(), World().Spool()}) Allow(path, 0700);
    Allow(Ini(), 0600);
  }

  TestWorld& World() { return world_.World; }
  fs::path Mail() { return World().MailRoot(); }
  fs::path Ini() { return World().Work() / "velnor.ini"; }
  fs::path Account() { return Mail() / "one.test" / "ann"; }
  fs::path Profile() { return Account() / "config.ini"; }

  void Change(const fs::path& file, std::string_view from, std::string_view to) {
    const std::string text = ReadFile(file);
    ASSERT_NE(text.find(from), std::string::npos) << text;
    WriteFile(file, Replaced(text, from, to));
  }

  ControlWorld world_;
};

TEST_F(ConfigCheckTest, NamesEachFault) {
  const Outcome clean = world_.Run("config check");
  EXPECT_EQ(clean.Status, 0);
  EXPECT_EQ(clean.Out + clean.Err, "No fault was found.\n");

  Change(Ini(), "SmtpPort=25\n", "SmtpPort=65535\n");
  Change(Ini(), "Pop3Port=110\n", "Pop3Port=0\n");
  Change(Ini(), "MaxSizePerMail=5\n", "MaxSizePerMail=big\n");
  Change(Ini(), "PrimaryDNS=\n", "PrimaryDNS=ns-1.one.test\n");
  Change(Ini(), "SecondaryDNS=\n", "SecondaryDNS=300.1.1.1\n");
  Change(Ini(), "LocalDomain=one.test|", "LocalDomain=one.test|ONE.test|send|twenty-bytes-long.de|");
  Change(Profile(), "Password=secret", "Password=");
  Change(Mail() / "one.test/list/config.ini", "Password=secret", "Password=nineteen-characters");
  Change(Profile(), "MailBoxSize=50", "MailBoxSize=70000");
  fs::remove_all(World().Inbox("one.test", "ann"));
  Allow(Profile(), 0640);
  Allow(Mail() / "one.test", 0705);
  WriteFile(World().Work() / "maillist.ini",
            "[MailList]\r\nlist@one.test\r\nnone@one.test\r\n[list@one.test]\r\nann@one.test\r\n");
  WriteFile(Account() / "allow.ini", "a@b.test\r\n@\r\n");
  WriteFile(Account() / "reject.ini", "b.test\r\n \r\n");
  Allow(Account() / "reject.ini", 0620);
  fs::create_directory(World().Work() / "logs");
  Allow(World().Work() / "logs", 0705);
  WriteFile(World().App() / "rules.ini", "10.0.0.1\r\n\r\n");
  Allow(World().App() / "rules.ini", 0666);

  const Outcome faulty = world_.Run("config check");
  EXPECT_EQ(faulty.Status, 1);
  for (const char* fault : {"velnor.ini: SmtpPort=65535: \"SMTP\" accepts a whole number from 0 to 65534.",
                            "velnor.ini: MaxSizePerMail=big: \"Maxsize per mail\" accepts",
                            "velnor.ini: SecondaryDNS=300.1.1.1: this is no IPv4 address and no host name.",
                            "velnor.ini: The domain ONE.test is listed twice.",
                            "velnor.ini: \"send\" can be no domain.",
                            "/twenty-bytes-long.de: The domain twenty-bytes-long.de has no directory.",
                            "velnor.ini: The domain twenty-bytes-long.de has more than 19 characters",
                            "velnor.ini: Without a port (0)",
                            "/list/config.ini: The password has more than 18 characters",
                            "/one.test: Its mode 705 is unsafe: others can read it.",
                            "/ann/config.ini: The account may log on and has no password.",
                            "/ann/config.ini: MailBoxSize=70000: \"Mailbox size\" accepts",
                            "/ann/config.ini: Its mode 640 is unsafe: others can read it.",
                            "/Inbox: The account has no Inbox",
                            "maillist.ini: line 5: the member \"ann@one.test\" has no permission, 0 or 1.",
                            "none@one.test: No account stands behind the list",
                            "/ann/reject.ini: Its mode 620 is unsafe: others can change it.",
                            "/ann/reject.ini: Line 2 is empty: that matches every sender.",
                            "/logs: Its mode 705 is unsafe: others can read it.",
                            "rules.ini: Its mode 666 is unsafe: others can change it.",
                            "rules.ini: An empty rule"}) {
    EXPECT_NE(faulty.Out.find(fault), std::string::npos) << fault << "\nin\n" << faulty.Out;
  }
  EXPECT_EQ(std::count(faulty.Out.begin(), faulty.Out.end(), '\n'), 21) << faulty.Out;
  EXPECT_EQ(world_.Run("config check --json").Out.find("secret"), std::string::npos);
}

TEST_F(ConfigCheckTest, WhatCantBeReadIsNamed) {
  const fs::path files[] = {Profile(), Account() / "reject.ini", World().Inbox("one.test", "ann") / "nmail",
                            World().Spool() / "smail", World().Work() / "maillist.ini"};
  for (const fs::path& file : files) {
    fs::remove(file);
    fs::create_directory_symlink(World().Root(), file);
  }
  const std::string faults = world_.Run("config check").Out;
  for (const fs::path& file : files) {
    const std::string fault = file.string() + ": It can't be read: Is a directory.";
    EXPECT_NE(faults.find(fault), std::string::npos) << faults;
  }
  WriteFile(Ini(), "[System]\nMailPath=" + Mail().string() + "/none\n");
  EXPECT_NE(world_.Run("config check").Out.find("/none: The mail root is no directory"), std::string::npos);
  fs::remove(Ini());
  fs::create_directory(Ini());
  EXPECT_NE(world_.Run("config check").Err.find("velnor.ini: Is a directory"), std::string::npos);
}

TEST_F(ConfigCheckTest, LinesThatALoadPassesOverAreNotLostUnsaid) {
  const fs::path file = World().Work() / "maillist.ini";
  WriteFile(file,
            "# kept\r\n[maillist]\r\nlist@one.test\r\nLIST@one.test\r\nno address\r\n\r\n"
            "[List@one.test]\r\n; kept\r\na@b.test 0\r\nA@B.test 1\r\n c@d.test +1 more\r\ne@f.test\r\n"
            "[gone@one.test]\r\ng@h.test 0\r\n");
  const std::string before = ReadFile(file);
  const Outcome outcome = world_.Run("maillist add-member list@one.test x@y.test");
  EXPECT_EQ(outcome.Status, 1);
  std::vector<std::string> lines;
  for (const std::string& line : DroppedMailListLines(file.string()))
    lines.push_back(line.substr(5, line.find(':') - 5));
  EXPECT_EQ(lines, (std::vector<std::string>{"4", "5", "10", "12", "13", "14"})) << outcome.Err;
  EXPECT_EQ(ReadFile(file), before);
  EXPECT_EQ(world_.Run("maillist add-member list@one.test x@y.test --force").Status, 0);
  EXPECT_TRUE(DroppedMailListLines(file.string()).empty());
  EXPECT_EQ(g_SystemConfig.FindMailList("list@one.test")->Members.size(), 3u);
}

}  // namespace
}  // namespace velnor::test
