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

TEST_F(ConfigDialog, DomainsAndRulesFollowTheirCommands) {
  for (const char* domain : {"a.org", "b.org"}) g_SystemConfig.AddDomain(domain);
  CConfigDialog dialog(prompter_, nullptr);
  Open(dialog);
  auto* const pages = Find<QListWidget>(dialog, "Pages");
  pages->setCurrentRow(1);
  auto* const domains = Find<QListWidget>(dialog, "Domains Configuration");
  auto* const domain = Find<QLineEdit>(dialog, "Domain");
  prompter_.Answer = PromptAnswer::YES;
  domains->setCurrentRow(1);
  EXPECT_EQ(domain->text(), "b.org");
  Type(domain, "c.org");
  Click(dialog, "Update");
  Type(domain, "d.org");
  Click(dialog, "Add");
  EXPECT_EQ(Rows(domains), (QStringList{"a.org", "c.org", "d.org"}));
  EXPECT_EQ(domain->text(), "d.org");
  Type(domain, "a.org");
  Click(dialog, "Delete");
  EXPECT_EQ(Rows(domains), (QStringList{"c.org", "d.org"}));
  EXPECT_EQ(domains->currentItem()->text(), "c.org");
  EXPECT_TRUE(domains->currentItem()->isSelected());
  Type(domain, "bad name");
  Click(dialog, "Add");
  EXPECT_EQ(dialog.focusWidget(), domain);
  Type(domain, QString(31, 'x'));
  EXPECT_EQ(domain->text().size(), 30);

  // A text stays while another page shows; the list is what the configuration holds.
  g_SystemConfig.DeleteDomain("d.org");
  Type(domain, "typed");
  pages->setCurrentRow(2);
  auto* const rule = Find<QLineEdit>(dialog, "Rule");
  Type(rule, "10.0.*");
  Click(dialog, "Add");
  EXPECT_EQ(rule->text(), "");
  auto* const rules = Find<QListWidget>(dialog, "The following domain/ip is forbidden");
  EXPECT_EQ(Rows(rules), (QStringList{"10.0.*"}));
  rules->setCurrentRow(0);
  Click(dialog, "Delete");
  EXPECT_EQ(rules->count(), 0);
  pages->setCurrentRow(1);
  EXPECT_EQ(domain->text(), "typed");
  EXPECT_EQ(Rows(domains), (QStringList{"c.org"}));
}

}  // namespace
}  // namespace velnor
