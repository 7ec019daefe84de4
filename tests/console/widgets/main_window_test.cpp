// The main window on a desktop without a tray: its commands, its log, and its close box.

#include "console/widgets/main_window.h"

#include <gtest/gtest.h>

#include <memory>
#include <QAbstractItemView>
#include <QApplication>
#include <QScrollBar>
#include <thread>

#include "console/widgets/desktop_prompter.h"
#include "console/widgets/window_driver.h"
#include "core/log_service.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

constexpr Service FAKE = {[] {}, [] {}, [] { return 0; }};
constexpr Service FAKES[] = {FAKE, FAKE, FAKE};

// Nothing here has to do with services.
class IdleServiceManager : public ServiceManager {
 public:
  bool OpenManager() override { return false; }
  void CloseManager() override {}
  bool OpenService(const std::string&) override { return false; }
  void CloseService() override {}
  void RequestStart() override {}
  void RequestStop() override {}
  void RunProgram(const std::string&, const std::string&) override {}
  void Wait(int) override {}
};

class MainWindowTest : public testing::Test {
 protected:
  MainWindowTest() {
    app_.LogLines.SetNotifier([this] { bell_.Ring(); });
    Open(prompter_);
  }

  void Open(Prompter& prompter) {
    window_ = std::make_unique<CMainDialog>(app_, prompter, manager_, bell_);
    window_->show();
  }

  QAbstractItemView& List() { return *window_->findChild<QAbstractItemView*>(); }

  // Lets the window work until its list has so many lines.
  bool WaitForLines(int count) {
    return test::WaitUntil([this, count] {
      QApplication::processEvents();
      return List().model()->rowCount() == count;
    });
  }

  // Whether menu and toolbar offer the one of the two commands, and the other not.
  bool OffersOnly(bool start) {
    const auto offers = [this](int id) { return window_->FindCommand(id)->isEnabled(); };
    return offers(ID_FILE_START) == start && offers(ID_TOOLBAR_START) == start &&
           offers(ID_FILE_STOP) != start && offers(ID_TOOLBAR_STOP) != start;
  }

  test::TestWorld world_;
  test::ScriptedPrompter prompter_;
  IdleServiceManager manager_;
  LogBell bell_;
  CServerApp app_{FAKES};
  std::unique_ptr<CMainDialog> window_;
};

TEST_F(MainWindowTest, StartAndStopFollowTheCommandsFromWhereverTheyCome) {
  EXPECT_TRUE(OffersOnly(true));
  window_->FindCommand(ID_TOOLBAR_START)->trigger();
  EXPECT_TRUE(OffersOnly(false));
  window_->FindCommand(ID_FILE_STOP)->trigger();
  EXPECT_TRUE(OffersOnly(true));
  g_SystemConfig.MailPath.Set((world_.Root() / "gone").string());
  window_->FindCommand(ID_FILE_START)->trigger();
  EXPECT_TRUE(OffersOnly(true));
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
  EXPECT_GT(bar.maximum(), 7000);
  bar.setValue(0);
  WriteLog(LOG_POP3, "the last line");
  ASSERT_TRUE(WaitForLines(8001));
  EXPECT_EQ(bar.value(), bar.maximum());
}

TEST_F(MainWindowTest, TheCloseBoxAndTheKeysLoseNothing) {
  window_->FindCommand(ID_FILE_START)->trigger();
  for (const int key : {Qt::Key_Escape, Qt::Key_Return}) test::Press(List(), key);
  EXPECT_FALSE(window_->close());
  EXPECT_TRUE(window_->isVisible()) << "without a tray there is no way back from hiding";
  EXPECT_TRUE(window_->isMinimized());
  EXPECT_TRUE(app_.IsServerRunning());
  window_->RestoreFromTray();
  EXPECT_FALSE(window_->isMinimized());
}

TEST_F(MainWindowTest, ExitEndsTheProgramAfterAnOkAndNotAfterACancel) {
  const auto choose = [this](PromptAnswer answer) {
    prompter_.Answer = answer;
    window_->FindCommand(ID_FILE_EXIT)->trigger();
  };
  QTimer::singleShot(0, window_.get(), [&] {
    choose(PromptAnswer::CANCEL);
    QTimer::singleShot(0, window_.get(), [&] { choose(PromptAnswer::OK); });
  });
  window_->RunModal();
  const test::ShownPrompt question{"Do you want to exit the VelnorServer?", "Prompt",
                                   PromptButtons::OK_CANCEL, PromptIcon::NONE};
  EXPECT_EQ(prompter_.Shown, std::vector(2, question));
}

TEST_F(MainWindowTest, AnEndFromOutsideTakesTheMessageOfTheStartUpWithIt) {
  g_SystemConfig.AutoStart = 1;
  g_SystemConfig.MailPath.Set((world_.Root() / "gone").string());
  DesktopPrompter desktop;
  Open(desktop);
  bool shown = false;
  QTimer watch;
  QObject::connect(&watch, &QTimer::timeout, [&shown] {
    if (QApplication::activeModalWidget() == nullptr) return;
    shown = true;
    QApplication::exit(0);
  });
  watch.start(1);
  window_->RunModal();
  EXPECT_TRUE(shown);
  EXPECT_FALSE(app_.IsServerRunning());
}

TEST_F(MainWindowTest, LinesLoggedAfterItsEndAreSafe) {
  window_.reset();
  for (int line = 0; line < 100; ++line) WriteLog(LOG_SMTP, "nobody looks");
  QApplication::processEvents();
  Open(prompter_);
  EXPECT_TRUE(WaitForLines(100));
}

}  // namespace
}  // namespace velnor
