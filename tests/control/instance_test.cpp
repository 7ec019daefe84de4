// What the commands say and refuse while an instance runs.

#include <gtest/gtest.h>

#include "control_world.h"
#include "core/system_config.h"
#include "platform/socket.h"

namespace velnor::test {
namespace {

constexpr const char* RELOAD_WORDS = "The change counts after \"velnorctl reload\".\n";

class Instance : public ::testing::Test {
 protected:
  Instance() {
    world_.World.AddAccount("one.test", "ann", "secret");
    g_SystemConfig.SaveDomains();
  }

  std::string WordsOf(const std::string& line, int status = 0) {
    const Outcome outcome = world_.Run(line + " --yes", {"secret"});
    EXPECT_EQ(outcome.Status, status) << line << ": " << outcome.Err;
    return outcome.Err;
  }

  // An instance that is one of the processes with these names, at which the account may not look.
  void Hide(const std::vector<std::string>& names) {
    world_.Instance.emplace();
    std::int64_t id = 0;
    for (const std::string& name : names) world_.Instance->Hidden.push_back({++id, name});
  }

  ControlWorld world_;
};

TEST_F(Instance, TheHostTakesChangesUpByAReload) {
  world_.StartInstance("VelnorService");
  for (const char* line : {"domain add two.test", "maillist add ann@one.test", "rule add 1.2.3.4"}) {
    EXPECT_EQ(WordsOf(line), RELOAD_WORDS) << line;
  }
  EXPECT_EQ(WordsOf("user set ann@one.test MailBoxSize=9"), "The change counts at once.\n");
  EXPECT_EQ(WordsOf("config set Pop3Port=1110 AutoStart=1 WebPort=82"),
            "Operation is successful\nThe ports count from the server's next start.\n"
            "AutoStart counts from the next start of a console.\n");
  EXPECT_EQ(WordsOf("reload"), "");
  Hide({"bash", "VelnorService"});
  EXPECT_EQ(WordsOf("domain add three.test"), RELOAD_WORDS) << "a capability hides it from its own account";
  EXPECT_EQ(world_.Run("status").Out, "running: yes\nprogram: VelnorService\nprocess: 2\n");
  EXPECT_EQ(WordsOf("reload"), "");
  EXPECT_EQ(world_.Reloaded, (std::vector<std::int64_t>{4711, 2}));
}

TEST_F(Instance, AConsoleIsNotWrittenOver) {
  const std::vector<std::vector<std::string>> hidden = {
      {}, {"bash"}, {"VelnorService", "velnor"}, {"VelnorService", "VelnorService"}};
  for (std::size_t i = 0; i <= hidden.size(); ++i) {
    i == 0 ? world_.StartInstance("velnor") : Hide(hidden[i - 1]);
    const std::string before = ReadFile(world_.World.Work() / "velnor.ini");
    for (const char* line : {"domain add two.test", "domain rename one.test two.test", "rule add 1.2.3.4",
                             "domain delete one.test", "config set LogToFile=1", "maillist add a@one.test"}) {
      EXPECT_NE(WordsOf(line, 1).find("its next save"), std::string::npos) << i << line;
    }
    EXPECT_EQ(ReadFile(world_.World.Work() / "velnor.ini"), before);
    EXPECT_EQ(WordsOf("user set ann@one.test MailBoxSize=9"),
              "A dialog of this account that is open in a console writes over the change.\n"
              "The change counts at once.\n");
  }
  EXPECT_NE(WordsOf("reload", 1), "") << "nobody can be told";
  EXPECT_TRUE(world_.Reloaded.empty());
  world_.StartInstance("velnor");
  const std::string words = WordsOf("domain add two.test --force");
  EXPECT_NE(words.find("A save in a console"), std::string::npos) << words;
  EXPECT_NE(words.find(RELOAD_WORDS), std::string::npos) << words;
}

TEST_F(Instance, OneThatDoesNotServeThisConfigurationDoesNotCount) {
  world_.StartInstance("velnor");
  world_.Instance->Directory = world_.World.MailRoot();
  for (const char* line : {"domain add two.test", "rule add 1.2.3.4"}) EXPECT_EQ(WordsOf(line), "");
  EXPECT_NE(WordsOf("reload", 1).find("works in " + world_.World.MailRoot().string()), std::string::npos);

  world_.StartInstance("else");
  const std::string words = "The process 4711 (" + (world_.World.App() / "else").string() + ") holds the ";
  EXPECT_TRUE(world_.Run("status").Out.starts_with("running: no\n"));
  for (const char* line : {"status", "reload"}) EXPECT_TRUE(WordsOf(line, 1).starts_with(words));
  EXPECT_EQ(WordsOf("domain add three.test"), "");
  EXPECT_TRUE(world_.Reloaded.empty());
}

TEST_F(Instance, StatusAndReadinessTellWhatCanBeSeen) {
  const platform::Socket listener = platform::OpenStreamSocket();
  ASSERT_EQ(platform::BindSocket(listener, 0) + platform::ListenSocket(listener, 1), 0);
  g_SystemConfig.SmtpPort = platform::LocalPort(listener);
  g_SystemConfig.SaveConfig();
  EXPECT_EQ(world_.Run("status").Out, "running: no\n");
  EXPECT_EQ(WordsOf("status", 1) + WordsOf("reload", 1), "No instance is running.\n");
  EXPECT_EQ(world_.Run("ready").Out, "smtp: no\npop3: no\nspool: yes\n");
  EXPECT_EQ(WordsOf("ready", 1), "Not ready: no instance runs with this configuration.\n");
  EXPECT_EQ(platform::WaitReadable(listener, 0), 0) << "the port is somebody else's";
  platform::CloseSocket(listener);
  Hide({});
  EXPECT_EQ(world_.Run("status --json").Out, "{\"running\": true}\n");
  world_.StartInstance("VelnorService");
  world_.Instance->Ports = {25, 110};
  const std::string seen = world_.Run("status").Out;
  EXPECT_TRUE(seen.ends_with("process: 4711\nsince: -\ndirectory: " + world_.World.Work().string() +
                             "\nports: 25,110\n"))
      << seen;
}

}  // namespace
}  // namespace velnor::test
