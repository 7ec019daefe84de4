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
using Steps = std::vector<std::string>;

class MainWindowLogicTest : public testing::Test {
 protected:
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (std::size_t row = 0; row < logic_.Log().Count(); ++row) lines.push_back(logic_.Log().Line(row).Text);
    return lines;
  }

  test::TestWorld world_;
  ScriptedPrompter prompter_;
  CServerApp app_{{}};
  MainWindowLogic logic_{app_, prompter_};
};

TEST_F(MainWindowLogicTest, OnlyOneStartsTheServicesByItself) {
  for (const int value : {0, 2, -1}) {
    g_SystemConfig.AutoStart = value;
    logic_.Initialise();
    EXPECT_TRUE(logic_.OffersStart()) << value;
  }
  g_SystemConfig.AutoStart = 1;
  logic_.Initialise();
  EXPECT_TRUE(logic_.OffersStop());
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
