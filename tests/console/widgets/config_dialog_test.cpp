#include "console/widgets/config_dialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QListWidget>
#include <QStackedWidget>

#include "console/widgets/window_driver.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using namespace test;

class ConfigDialog : public testing::Test {
 protected:
  // Texts of the list on the page that shows.
  static QStringList Rows(QListWidget* list) {
    QStringList rows;
    for (int row = 0; row < list->count(); ++row) rows += list->item(row)->text();
    return rows;
  }

  TestWorld world_;
  ScriptedPrompter prompter_;
};

TEST_F(ConfigDialog, GeneralPageShowsStoresAndPointsToTheRefusedField) {
  g_SystemConfig.AntiSpamLevel = 2;
  CConfigDialog dialog(prompter_, nullptr);
  Open(dialog);
  EXPECT_EQ(dialog.windowTitle(), "Configuration");
  EXPECT_EQ(Rows(Find<QListWidget>(dialog, "Pages")), (QStringList{"General", "Domains", "Rules"}));
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
  prompter_.Folder = "/chosen";
  Click(dialog, "...");
  Click(dialog, "Apply");
  EXPECT_EQ(prompter_.Shown.back().Text, "Operation is successful");
  EXPECT_EQ(g_SystemConfig.SmtpPort, 2525);
  EXPECT_EQ(g_SystemConfig.LogToFile, 1);
  EXPECT_EQ(g_SystemConfig.AntiSpamLevel, 0);
  EXPECT_EQ(g_SystemConfig.MailPath.Get(), "/chosen");
}

}  // namespace
}  // namespace velnor
