// What the commands say and refuse while an instance runs.

#include <gtest/gtest.h>

#include "control_world.h"
#include "core/system_config.h"

namespace velnor::test {
namespace {

constexpr const char* MAIL_LIST_FILE = "maillist.ini";

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

  std::string Files() {
    return ReadFile(world_.World.Work() / "velnor.ini") + ReadFile(world_.World.Work() / MAIL_LIST_FILE) +
           ReadFile(world_.World.App() / "rules.ini");
  }

  ControlWorld world_;
};

const std::vector<std::string> CONFIGURATION_CHANGES = {
    "domain add two.test",    "domain rename one.test two.test", "domain delete one.test",
    "config set LogToFile=1", "maillist add ann@one.test",       "rule add 1.2.3.4",
};

TEST_F(Instance, TheHostTakesChangesUpByAReload) {
  world_.StartInstance("VelnorService");
  for (const char* line : {"domain add two.test", "maillist add ann@one.test", "rule add 1.2.3.4"}) {
    EXPECT_EQ(WordsOf(line), "The change counts after \"velnorctl reload\".\n") << line;
  }
  EXPECT_EQ(WordsOf("user set ann@one.test MailBoxSize=9"), "The change counts at once.\n");
  EXPECT_EQ(WordsOf("config set Pop3Port=1110"),
            "Operation is successful\nThe ports count from the server's next start.\n");
  EXPECT_EQ(WordsOf("reload"), "");
  EXPECT_EQ(world_.Reloaded, std::vector<std::int64_t>{4711});
}

TEST_F(Instance, AConsoleIsNotWrittenOver) {
  for (const bool visible : {true, false}) {
    world_.StartInstance("velnor");
    if (!visible) world_.Instance = platform::InstanceProcess();
    const std::string before = Files();
    for (const std::string& line : CONFIGURATION_CHANGES) {
      EXPECT_NE(WordsOf(line, 1).find("its next save"), std::string::npos) << line;
    }
    EXPECT_EQ(Files(), before);
    EXPECT_EQ(WordsOf("user set ann@one.test MailBoxSize=9"), "The change counts at once.\n");
  }
  EXPECT_NE(WordsOf("reload", 1), "") << "nobody can be told";
  world_.StartInstance("velnor");
  const std::string words = WordsOf("domain add two.test --force");
  EXPECT_NE(words.find("A save in a console"), std::string::npos) << words;
  EXPECT_NE(words.find("velnorctl reload"), std::string::npos) << words;
  EXPECT_TRUE(world_.Reloaded.empty());
  EXPECT_EQ(WordsOf("reload"), "");
  EXPECT_EQ(world_.Reloaded, std::vector<std::int64_t>{4711});
}

TEST_F(Instance, OneWithAnotherConfigurationDoesNotCount) {
  world_.StartInstance("velnor");
  world_.Instance->Directory = world_.World.MailRoot();
  for (const char* line : {"domain add two.test", "rule add 1.2.3.4"}) EXPECT_EQ(WordsOf(line), "");
  world_.Instance->Program = "/usr/bin/VelnorService";
  EXPECT_NE(WordsOf("reload", 1).find("works in " + world_.World.MailRoot().string()), std::string::npos);
}

TEST_F(Instance, StatusTellsWhatCanBeSeen) {
  EXPECT_EQ(world_.Run("status").Out, "running: no\n");
  EXPECT_EQ(world_.Run("status").Status, 1);
  EXPECT_EQ(WordsOf("reload", 1), "No instance is running.\n");
  world_.Instance = platform::InstanceProcess();
  EXPECT_EQ(world_.Run("status --json").Out, "{\"running\": true}\n");
  world_.StartInstance("VelnorService");
  world_.Instance->Ports = {25, 110};
  const Outcome seen = world_.Run("status");
  EXPECT_EQ(seen.Status, 0);
  EXPECT_NE(seen.Out.find("process: 4711\nsince: -\ndirectory: " + world_.World.Work().string() +
                          "\nports: 25,110\n"),
            std::string::npos)
      << seen.Out;
}

}  // namespace
}  // namespace velnor::test
