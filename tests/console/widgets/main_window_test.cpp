// The main window on a desktop without a tray: its commands, its log, and its close box.

#include "console/widgets/main_window.h"

#include <gtest/gtest.h>

#include <memory>
#include <QAbstractItemView>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QScrollBar>
#include <QStatusBar>
#include <set>
#include <thread>

#include "core/log_service.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

constexpr Service FAKE = {[] {}, [] {}, [] { return 0; }};
constexpr Service FAKES[] = {FAKE, FAKE, FAKE};

class MainWindowTest : public testing::Test {
 protected:
  MainWindowTest() {
    app_.LogLines.SetNotifier([this] { bell_.Ring(); });
    Open();
  }

  void Open() {
    window_ = std::make_unique<CMainDialog>(app_, prompter_, manager_, bell_);
    window_->show();
  }

  QAbstractItemView& List() { return *window_->findChild<QAbstractItemView*>(); }
  int LineCount() { return List().model()->rowCount(); }

  // Lets the window work until its list has so many lines.
  bool WaitForLines(int count) {
    return test::WaitUntil([this, count] {
      QApplication::processEvents();
      return LineCount() == count;
    });
  }

  // The numbers of those commands among Start and Stop that can be chosen.
  std::set<int> Offered() {
    std::set<int> offered;
    for (const int id : {ID_FILE_START, ID_FILE_STOP, ID_TOOLBAR_START, ID_TOOLBAR_STOP}) {
      if (window_->FindCommand(id)->isEnabled()) offered.insert(id);
    }
    return offered;
  }

  void Press(Qt::Key key) {
    for (QWidget* const target : {static_cast<QWidget*>(window_.get()), static_cast<QWidget*>(&List())}) {
      QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
      QApplication::sendEvent(target, &press);
    }
  }

  test::TestWorld world_;
  test::ScriptedPrompter prompter_;
  NoServiceManager manager_;
  LogBell bell_;
  CServerApp app_{FAKES};
  std::unique_ptr<CMainDialog> window_;
};

const std::set<int> START = {ID_FILE_START, ID_TOOLBAR_START};
const std::set<int> STOP = {ID_FILE_STOP, ID_TOOLBAR_STOP};

TEST_F(MainWindowTest, StartAndStopFollowTheCommandsFromWhereverTheyCome) {
  EXPECT_EQ(Offered(), START);
  window_->FindCommand(ID_TOOLBAR_START)->trigger();
  EXPECT_EQ(Offered(), STOP);
  window_->FindCommand(ID_FILE_STOP)->trigger();
  EXPECT_EQ(Offered(), START);
  g_SystemConfig.MailPath.Set((world_.Root() / "gone").string());
  window_->FindCommand(ID_FILE_START)->trigger();
  EXPECT_EQ(Offered(), START);
  EXPECT_EQ(prompter_.Shown.size(), 1U);
}

TEST_F(MainWindowTest, LinesOfManyThreadsReachTheListWhichFollowsThem) {
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([] {
      for (int line = 0; line < 2000; ++line) WriteLog(LOG_SMTP, "line %d", line);
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(WaitForLines(8000));
  QScrollBar& bar = *List().verticalScrollBar();
  EXPECT_EQ(bar.value(), bar.maximum());
  bar.setValue(0);
  WriteLog(LOG_POP3, "the last line");
  ASSERT_TRUE(WaitForLines(8001));
  EXPECT_EQ(bar.value(), bar.maximum());
  EXPECT_GT(bar.maximum(), 7000);
}

TEST_F(MainWindowTest, TheCloseBoxAndTheKeysLoseNothing) {
  window_->FindCommand(ID_FILE_START)->trigger();
  Press(Qt::Key_Escape);
  Press(Qt::Key_Return);
  EXPECT_FALSE(window_->close());
  EXPECT_TRUE(window_->isVisible()) << "without a tray there is no way back from hiding";
  EXPECT_TRUE(window_->isMinimized());
  EXPECT_TRUE(app_.IsServerRunning());
  window_->RestoreFromTray();
  EXPECT_FALSE(window_->isMinimized());
}

TEST_F(MainWindowTest, ExitEndsTheProgramAfterAnOkAndNotAfterACancel) {
  QAction* const exit = window_->FindCommand(ID_FILE_EXIT);
  prompter_.Answer = PromptAnswer::CANCEL;
  QTimer::singleShot(0, window_.get(), [this, exit] {
    exit->trigger();
    QTimer::singleShot(0, window_.get(), [this, exit] {
      prompter_.Answer = PromptAnswer::OK;
      exit->trigger();
    });
  });
  window_->RunModal();
  EXPECT_EQ(prompter_.Shown.size(), 2U);
}

TEST_F(MainWindowTest, LinesLoggedAfterItsEndAreSafe) {
  window_.reset();
  for (int line = 0; line < 100; ++line) WriteLog(LOG_SMTP, "nobody looks");
  QApplication::processEvents();
  Open();
  EXPECT_TRUE(WaitForLines(100));
}

}  // namespace
}  // namespace velnor
