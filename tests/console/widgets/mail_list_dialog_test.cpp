#include "console/widgets/mail_list_dialog.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QListWidget>
#include <QTreeWidget>

#include "console/widgets/window_driver.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using namespace test;

QStringList MemberTexts(const QTreeWidget& members) {
  QStringList texts;
  for (int row = 0; row < members.topLevelItemCount(); ++row) {
    texts += members.topLevelItem(row)->text(0) + " " + members.topLevelItem(row)->text(1);
  }
  return texts;
}

TEST(MailListWindow, EditsListsAndMembers) {
  const TestWorld world;
  ScriptedPrompter prompter;
  prompter.Answer = PromptAnswer::YES;
  g_SystemConfig.AddMailList("old@a.org");
  g_SystemConfig.AddListMember("old@a.org", "bob@a.org", 1);
  CMailListDialog dialog(prompter, nullptr);
  Open(dialog);
  EXPECT_EQ(dialog.windowTitle(), "Mail List");
  auto* const lists = Find<QListWidget>(dialog, "Mail lists");
  auto* const members = Find<QTreeWidget>(dialog, "Members");
  auto* const list_addr = Find<QLineEdit>(dialog, "List Addr");
  auto* const email_addr = Find<QLineEdit>(dialog, "Email Addr");
  auto* const priority = Find<QComboBox>(dialog, "Priority");
  EXPECT_EQ(priority->currentIndex(), -1);
  EXPECT_EQ(members->headerItem()->text(1), "Prority");
  EXPECT_EQ(members->topLevelItemCount(), 0);

  lists->setCurrentRow(0);
  EXPECT_EQ(list_addr->text(), "old@a.org");
  members->setCurrentItem(members->topLevelItem(0));
  EXPECT_EQ(email_addr->text(), "bob@a.org");
  EXPECT_EQ(priority->currentText(), "Only Read");
  priority->setCurrentIndex(0);
  Type(email_addr, "carol@a.org");
  Click(dialog, "Add to List");
  EXPECT_EQ(MemberTexts(*members), (QStringList{"bob@a.org R", "carol@a.org RW"}));
  EXPECT_EQ(email_addr->text(), "");
  Type(email_addr, "CAROL@a.org");
  Click(dialog, "Add to List");
  EXPECT_EQ(dialog.focusWidget(), email_addr);
  Type(email_addr, "bob@a.org");
  Click(dialog, "Remove from List");
  EXPECT_EQ(MemberTexts(*members), (QStringList{"carol@a.org RW"}));

  Type(list_addr, "bad name");
  Click(dialog, "Add");
  EXPECT_EQ(dialog.focusWidget(), list_addr);
  Type(list_addr, "new@a.org");
  Click(dialog, "Add");
  EXPECT_EQ(lists->count(), 2);
  EXPECT_EQ(lists->selectedItems().at(0)->text(), "old@a.org");
  Type(list_addr, "old@a.org");
  Click(dialog, "Delete");
  EXPECT_EQ(lists->count(), 1);
  EXPECT_TRUE(lists->selectedItems().isEmpty());
  EXPECT_EQ(ReadFile(world.Work() / "maillist.ini"), "");
  Click(dialog, "Apply");
  EXPECT_EQ(ReadFile(world.Work() / "maillist.ini"),
            "[MailList]\r\r\nnew@a.org\r\r\n\r\r\n[new@a.org]\r\r\n\r\r\n");
  Click(dialog, "Close");
  EXPECT_FALSE(dialog.isVisible());
}

}  // namespace
}  // namespace velnor
