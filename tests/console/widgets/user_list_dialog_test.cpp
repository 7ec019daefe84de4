#include "console/widgets/user_list_dialog.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QHeaderView>

#include "console/widgets/report_list.h"
#include "console/widgets/window_driver.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using namespace test;

constexpr auto SELECT_ROW = QItemSelectionModel::Select | QItemSelectionModel::Rows;

QStringList Column(const CReportList& list, int column) {
  QStringList texts;
  for (int row = 0; row < list.RowCount(); ++row) texts += list.CellText(row, column);
  return texts;
}

TEST(UserListDialog, ShowsSortsAndDeletesTheAccountsOfADomain) {
  TestWorld world;
  ScriptedPrompter prompter;
  for (const char* account : {"10", "9", "100"}) world.AddAccount("a.org", account, "pw");
  world.AddAccount("b.org", "bob", "pw", "Username=Bob\n");
  CUserListDialog dialog(prompter, nullptr);
  Open(dialog);
  auto* const list = Find<CReportList>(dialog, "Accounts");
  const int width = list->columnWidth(0) + list->columnWidth(1) + list->columnWidth(2);
  EXPECT_NEAR(list->columnWidth(0), width * 0.3, 2);
  EXPECT_NEAR(list->columnWidth(2), width * 0.4, 2);
  EXPECT_LT(width, list->width());

  list->clearSelection();
  Click(dialog, "Delete");
  Click(dialog, "Detail");
  ASSERT_EQ(prompter.Shown.size(), 1U);
  EXPECT_EQ(prompter.Shown[0].Text, "You have not choose record");
  emit list->header()->sectionClicked(0);
  EXPECT_EQ(Column(*list, 0), (QStringList{"9", "10", "100"}));
  list->selectionModel()->setCurrentIndex(list->model()->index(2, 0), SELECT_ROW);
  list->selectionModel()->select(list->model()->index(1, 0), SELECT_ROW);
  for (const PromptAnswer answer : {PromptAnswer::NO, PromptAnswer::YES}) {
    prompter.Answer = answer;
    Click(dialog, "Delete");
    EXPECT_EQ(std::filesystem::exists(world.MailRoot() / "a.org" / "10"), answer == PromptAnswer::NO);
  }
  EXPECT_EQ(Column(*list, 0), (QStringList{"9", "100"}));

  std::filesystem::remove_all(world.MailRoot() / "a.org" / "100");
  list->selectionModel()->select(list->model()->index(1, 0), SELECT_ROW);
  Click(dialog, "Delete");
  EXPECT_EQ(prompter.Shown.back().Text, "You can not delete the User");
  Find<QComboBox>(dialog, "Domain")->setCurrentIndex(1);
  EXPECT_EQ(Column(*list, 0) + Column(*list, 1), (QStringList{"bob", "Bob"}));
  for (const int key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) Press(*list, key);
  EXPECT_TRUE(dialog.isVisible());
}

TEST(ReportList, SelectionFocusAndDataTravelWithTheirRows) {
  CReportList list;
  list.InsertColumn(0, "Account", Qt::AlignCenter, 100);
  for (const char* text : {"3", "1", "2"}) {
    list.SetRowData(list.InsertRow(list.RowCount(), text), QString(text).toInt() * 10);
  }
  Open(list);
  list.selectionModel()->setCurrentIndex(list.model()->index(0, 0), SELECT_ROW);
  list.selectionModel()->select(list.model()->index(2, 0), SELECT_ROW);
  emit list.header()->sectionClicked(0);
  EXPECT_EQ(Column(list, 0), (QStringList{"1", "2", "3"}));
  EXPECT_EQ(list.RowData(2), 30);
  EXPECT_EQ(list.currentIndex().row(), 2);
  EXPECT_EQ(list.FirstSelectedRow(), 1);
  EXPECT_EQ(list.selectionModel()->selectedRows().size(), 2);

  // A header that takes no clicks sorts nothing, and a space changes no selection.
  list.header()->setSectionsClickable(false);
  list.Sort(0, false);
  EXPECT_EQ(list.CellText(0, 0), "1");
  list.selectionModel()->clearSelection();
  Press(list, Qt::Key_Space, " ");
  EXPECT_EQ(list.FirstSelectedRow(), std::nullopt);
}

}  // namespace
}  // namespace velnor
