#include "console/widgets/config_dialog.h"

#include <gtest/gtest.h>

#include <QListWidget>

#include "console/widgets/window_driver.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using namespace test;

TEST(ConfigDialog, GeneralPageShowsStoresAndPointsToTheRefusedField) {
  const TestWorld world;
  ScriptedPrompter prompter;
  g_SystemConfig.AntiSpamLevel = 2;
  CConfigDialog dialog(prompter, nullptr);
  Open(dialog);
  EXPECT_TRUE(Find<QListWidget>(dialog, "Pages")->selectedItems().isEmpty());
  auto* const smtp = Find<QLineEdit>(dialog, "SmtpPort");
  auto* const level = Find<QLineEdit>(dialog, "AntiSpamLevel");
  EXPECT_EQ(smtp->text(), "25");
  EXPECT_EQ(level->text(), "2");

  Type(smtp, "65535");
  Click(dialog, "Log to File");
  Click(dialog, "Apply");
  EXPECT_EQ(dialog.focusWidget(), smtp);
  EXPECT_EQ(smtp->selectedText(), "65535");
  EXPECT_EQ(g_SystemConfig.LogToFile, 0);
  Type(smtp, "2525");
  Click(dialog, "Simple Anti-spam Enable");
  EXPECT_FALSE(level->isEnabled());
  EXPECT_EQ(level->text(), "0");
  EXPECT_EQ(smtp->text(), "2525");
  prompter.Folder = "/chosen";
  Click(dialog, "...");
  EXPECT_EQ(prompter.FolderStart, g_SystemConfig.MailPath.Get());
  Click(dialog, "Apply");
  EXPECT_EQ(prompter.Shown.back().Text, "Operation is successful");
  EXPECT_EQ(g_SystemConfig.SmtpPort, 2525);
  EXPECT_EQ(g_SystemConfig.LogToFile, 1);
  EXPECT_EQ(g_SystemConfig.AntiSpamLevel, 0);
  EXPECT_EQ(g_SystemConfig.MailPath.Get(), "/chosen");

  // What a page holds survives a change of page, and a page of names shows what its list says.
  Type(smtp, "26");
  Find<QListWidget>(dialog, "Pages")->setCurrentRow(2);
  EXPECT_FALSE(smtp->isVisible());
  Type(Find<QLineEdit>(dialog, "Rule"), "*.evil.example");
  Click(dialog, "Add");
  auto* const rules = Find<QListWidget>(dialog, "The following domain/ip is forbidden");
  EXPECT_EQ(Find<QLineEdit>(dialog, "Rule")->text(), "");
  rules->setCurrentRow(0);
  EXPECT_EQ(Find<QLineEdit>(dialog, "Rule")->text(), "*.evil.example");
  Find<QListWidget>(dialog, "Pages")->setCurrentRow(0);
  EXPECT_EQ(smtp->text(), "26");
}

}  // namespace
}  // namespace velnor
