// The log viewer: a double click opens the selected file.

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

class LogsDialogTest : public testing::Test {
 protected:
  // Opens the dialog and double clicks at the first row's place.
  void DoubleClickFirstRow() {
    CLogsDialog dialog(prompter_);
    dialog.show();
    auto* const files = dialog.findChild<QListWidget*>();
    rows_ = files->count();
    const QPointF place(10, files->fontMetrics().height() / 2.0);
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                    QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease}) {
      QMouseEvent event(type, place, files->viewport()->mapToGlobal(place), Qt::LeftButton, Qt::LeftButton,
                        Qt::NoModifier);
      QApplication::sendEvent(files->viewport(), &event);
    }
    EXPECT_TRUE(dialog.isVisible());
  }

  test::TestWorld world_;
  test::ScriptedPrompter prompter_;
  int rows_ = 0;
};

TEST_F(LogsDialogTest, OpensTheFileThatIsDoubleClicked) {
  const std::filesystem::path logs = g_SystemConfig.LogPath.Get();
  test::WriteFile(logs / "2025_06_01.txt", "");
  test::WriteFile(logs / "2025_05_31 \xff.txt", "");
  DoubleClickFirstRow();
  EXPECT_EQ(rows_, 2);
  EXPECT_EQ(prompter_.Opened, std::vector{(logs / "2025_05_31 \xff.txt").string()});
}

}  // namespace
}  // namespace velnor
