// The log viewer: it lists files alone, and a double click of the left button opens one.

#include "console/widgets/logs_dialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QListWidget>
#include <QMouseEvent>

#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

// Double clicks at the first row's place.
void DoubleClickFirstRow(QListWidget& files, Qt::MouseButton button) {
  const QPointF place(10, files.fontMetrics().height() / 2.0);
  for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                  QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease}) {
    QMouseEvent event(type, place, files.viewport()->mapToGlobal(place), button, button, Qt::NoModifier);
    QApplication::sendEvent(files.viewport(), &event);
  }
}

TEST(LogsDialog, ListsFilesInOrderAndOpensTheOneThatIsDoubleClicked) {
  const test::TestWorld world;
  test::ScriptedPrompter prompter;
  const std::filesystem::path logs = g_SystemConfig.LogPath.Get();
  std::filesystem::create_directory(logs / "archive");
  for (const char* name : {"2025_06_01.txt", "2025_05_31 \xff.txt", "a stray file"}) {
    test::WriteFile(logs / name, "");
  }
  CLogsDialog dialog(prompter, nullptr);
  dialog.show();
  auto& files = *dialog.findChild<QListWidget*>();
  EXPECT_EQ(files.count(), 3);
  for (const Qt::MouseButton other : {Qt::RightButton, Qt::MiddleButton}) DoubleClickFirstRow(files, other);
  EXPECT_TRUE(prompter.Opened.empty());
  DoubleClickFirstRow(files, Qt::LeftButton);
  EXPECT_EQ(prompter.Opened, std::vector{(logs / "2025_05_31 \xff.txt").string()});
  EXPECT_TRUE(dialog.isVisible());
}

}  // namespace
}  // namespace velnor
