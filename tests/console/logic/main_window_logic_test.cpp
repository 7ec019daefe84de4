// The main window's commands: what they do to the services, what they offer afterwards, and what they ask.

#include "console/logic/main_window_logic.h"

#include <gtest/gtest.h>

#include "core/log_service.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using test::ScriptedPrompter;

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
  WriteLog(LOG_SMTP, "logged while paused");
  logic_.TogglePause();
  WriteLog(LOG_POP3, "logged after the pause");
  logic_.TakeLogLines();
  ASSERT_EQ(Lines().size(), 2U);
  EXPECT_TRUE(Lines()[0].ends_with("[SMTP ]  logged before the pause"));
  EXPECT_TRUE(Lines()[1].ends_with("[POP3 ]  logged after the pause"));
  WriteLog(LOG_POP3, "logged before the emptying");
  logic_.ClearLog();
  logic_.TakeLogLines();
  EXPECT_TRUE(Lines().empty());
  logic_.TogglePause();
  logic_.ClearLog();
  EXPECT_TRUE(logic_.Log().IsPaused());
}

TEST_F(MainWindowLogicTest, LinesThatFellAwayAreCounted) {
  for (std::size_t row = 0; row < LogLineQueue::CAPACITY + 7; ++row) app_.LogLines.Put(LOG_SYS, "x\r\n");
  while (logic_.TakeLogLines()) continue;
  EXPECT_EQ(Lines().front(), "(7 lines are missing here)");
  EXPECT_EQ(Lines().size(), LogLineQueue::CAPACITY + 1);
}

}  // namespace
}  // namespace velnor
