// The main window's commands: what they do to the services, what they offer afterwards, and what they ask.

#include "console/logic/main_window_logic.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "console/logic/log_viewer.h"
#include "core/log_service.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using test::ScriptedPrompter;
using test::ShownPrompt;
using Steps = std::vector<std::string>;

Steps g_Steps;

constexpr Service FAKES[] = {
    {[] { g_Steps.emplace_back("start 1"); }, [] { g_Steps.emplace_back("stop 1"); }, [] { return 3; }},
    {[] { g_Steps.emplace_back("start 2"); }, [] { g_Steps.emplace_back("stop 2"); }, [] { return 20; }},
    {[] { g_Steps.emplace_back("start 3"); }, [] { g_Steps.emplace_back("stop 3"); }, [] { return 100; }},
};

class MainWindowLogicTest : public testing::Test {
 protected:
  MainWindowLogicTest() { g_Steps.clear(); }

  // What the window offers: "Start" or "Stop" and the picture's colour.
  std::string Offer() const {
    EXPECT_NE(logic_.OffersStart(), logic_.OffersStop());
    return std::string(logic_.OffersStart() ? "Start" : "Stop") +
           (logic_.ShowsRunningIcon() ? " green" : " red");
  }

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (std::size_t row = 0; row < logic_.Log().Count(); ++row) lines.push_back(logic_.Log().Line(row).Text);
    return lines;
  }

  test::TestWorld world_;
  ScriptedPrompter prompter_;
  CServerApp app_{FAKES};
  MainWindowLogic logic_{app_, prompter_};
};

const ShownPrompt NO_MAIL_PATH = {
    "You didn't set the MailPath, please open the configuration window to setup", "Information",
    PromptButtons::OK, PromptIcon::STOP};

TEST_F(MainWindowLogicTest, StartAndStopSwitchWhatIsOffered) {
  logic_.Initialise();
  EXPECT_EQ(Offer(), "Start green");
  logic_.StartCommand();
  EXPECT_EQ(Offer(), "Stop green");
  EXPECT_EQ(g_Steps, (Steps{"start 1", "start 2", "start 3"}));
  logic_.StopCommand();
  EXPECT_EQ(Offer(), "Start red");
  EXPECT_EQ(g_Steps, (Steps{"start 1", "start 2", "start 3", "stop 1", "stop 2", "stop 3"}));
  logic_.StartCommand();
  EXPECT_EQ(Offer(), "Stop green");
  EXPECT_TRUE(prompter_.Shown.empty());
}

TEST_F(MainWindowLogicTest, WithoutTheMailRootNothingStarts) {
  logic_.StopCommand();
  g_Steps.clear();
  g_SystemConfig.AutoStart = 1;
  test::WriteFile(world_.Root() / "file", "");
  for (const auto& path : {world_.Root() / "nowhere", world_.Root() / "file"}) {
    g_SystemConfig.MailPath.Set(path.string());
    logic_.StartCommand();
    logic_.Initialise();
    EXPECT_EQ(prompter_.Take(), (std::vector{NO_MAIL_PATH, NO_MAIL_PATH}));
    EXPECT_EQ(Offer(), "Start red");
  }
  EXPECT_EQ(g_Steps, Steps{});
}

TEST_F(MainWindowLogicTest, OnlyOneStartsTheServicesByItself) {
  for (const int value : {0, 2, -1}) {
    g_SystemConfig.AutoStart = value;
    logic_.Initialise();
    EXPECT_EQ(Offer(), "Start green") << value;
  }
  g_SystemConfig.AutoStart = 1;
  logic_.Initialise();
  EXPECT_EQ(Offer(), "Stop green");
}

TEST_F(MainWindowLogicTest, ExitAsks) {
  const std::vector question = {ShownPrompt{"Do you want to exit the VelnorServer?", "Prompt",
                                            PromptButtons::OK_CANCEL, PromptIcon::QUESTION}};
  prompter_.Answer = PromptAnswer::CANCEL;
  EXPECT_FALSE(logic_.ConfirmExit());
  EXPECT_EQ(prompter_.Take(), question);
  prompter_.Answer = PromptAnswer::OK;
  EXPECT_TRUE(logic_.ConfirmExit());
  EXPECT_EQ(prompter_.Take(), question);
}

TEST_F(MainWindowLogicTest, ATickTellsTheCountsAndLooksAtTheLimit) {
  EXPECT_EQ(logic_.Tick(), "POP3: 3    SMTP: 20    Delivers:100");
  for (std::size_t row = 0; row < LogList::LIMIT; ++row) app_.LogLines.Put(LOG_SYS, "x\r\n");
  while (logic_.TakeLogLines()) continue;
  EXPECT_EQ(logic_.Log().Count(), LogList::LIMIT);
  logic_.Tick();
  EXPECT_EQ(logic_.Log().Count(), 0U);
}

TEST_F(MainWindowLogicTest, PauseAndClearCountForLinesThatStillWait) {
  WriteLog(LOG_SMTP, "logged before the pause");
  logic_.TogglePause();
  EXPECT_TRUE(logic_.Log().IsPaused());
  WriteLog(LOG_SMTP, "logged while paused");
  logic_.TogglePause();
  EXPECT_FALSE(logic_.Log().IsPaused());
  WriteLog(LOG_POP3, "logged after the pause");
  logic_.TakeLogLines();
  ASSERT_EQ(Lines().size(), 2U);
  EXPECT_TRUE(Lines()[0].ends_with("[SMTP ]  logged before the pause"));
  EXPECT_TRUE(Lines()[1].ends_with("[POP3 ]  logged after the pause"));
  WriteLog(LOG_POP3, "logged before the emptying");
  logic_.ClearLog();
  logic_.TakeLogLines();
  EXPECT_EQ(Lines(), Steps{});
}

TEST_F(MainWindowLogicTest, LinesThatFellAwayAreCounted) {
  for (std::size_t row = 0; row < LogLineQueue::CAPACITY + 7; ++row) app_.LogLines.Put(LOG_SYS, "x\r\n");
  while (logic_.TakeLogLines()) continue;
  EXPECT_EQ(Lines().front(), "(7 lines are missing here)");
  EXPECT_EQ(Lines().size(), LogLineQueue::CAPACITY + 1);
}

TEST_F(MainWindowLogicTest, TheLogViewerListsFilesAloneInOrderAndOpensThem) {
  EXPECT_EQ(ListLogFiles(), Steps{});
  const std::filesystem::path logs = g_SystemConfig.LogPath.Get();
  std::filesystem::create_directory(logs / "archive");
  for (const char* name : {"notes", "2025_01_02.txt", "2024_12_31.txt", "A stray file", ".hidden"}) {
    test::WriteFile(logs / name, "");
  }
  EXPECT_EQ(ListLogFiles(), (Steps{".hidden", "2024_12_31.txt", "2025_01_02.txt", "A stray file", "notes"}));
  OpenLogFile(prompter_, "2025_01_02.txt");
  EXPECT_EQ(prompter_.Opened, (Steps{(logs / "2025_01_02.txt").string()}));
  g_SystemConfig.LogPath.Set((world_.Root() / "gone").string());
  EXPECT_EQ(ListLogFiles(), Steps{});
}

}  // namespace
}  // namespace velnor
