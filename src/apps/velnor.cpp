// velnor: the server under its console.

#include <QApplication>
#include <QSocketNotifier>

#include "apps/reload.h"
#include "apps/services.h"
#include "console/logic/systemd_service_manager.h"
#include "console/widgets/desktop_prompter.h"
#include "console/widgets/log_bell.h"
#include "console/widgets/main_window.h"
#include "platform/signals.h"
#include "platform/standard_output.h"

namespace velnor {
namespace {

class ConsoleFront : public AppFront {
 public:
  explicit ConsoleFront(LogBell& bell) : bell_(bell) {}

  void AlreadyRunning() override {}  // the instance that runs is the answer

  void CannotStart(const std::string& reason) override {
    prompter_.Show(reason, CAPTION_ERROR, PromptButtons::OK, PromptIcon::STOP);
  }

  void RunModal(CServerApp& app) override {
    SystemdServiceManager manager;
    CMainDialog window(app, prompter_, manager, bell_);
    window.RunModal();
  }

 private:
  LogBell& bell_;
  DesktopPrompter prompter_;
};

}  // namespace

int RunConsole(int argc, char** argv) {
  platform::HoldStandardDescriptors();
  const int reload = platform::WatchReload();
  const int stop = platform::WatchStop();
  QApplication application(argc, argv);
  QApplication::setDesktopFileName("velnor");
  QApplication::setQuitOnLastWindowClosed(false);
  // Heard once the window is there, so the configuration has been opened by then.
  QSocketNotifier reload_bell(reload, QSocketNotifier::Read);
  QObject::connect(&reload_bell, &QSocketNotifier::activated, [reload] {
    platform::TakeSignal(reload);
    ReloadConfig();
  });
  // As a confirmed Exit, also while a dialog is open.
  QSocketNotifier stop_bell(stop, QSocketNotifier::Read);
  QObject::connect(&stop_bell, &QSocketNotifier::activated, [stop] {
    platform::TakeSignal(stop);
    QApplication::exit(0);
  });
  // The bell stands behind the application object, which ends every thread that rings it.
  LogBell bell;
  CServerApp app(AllServices());
  app.LogLines.SetNotifier([&bell] { bell.Ring(); });
  ConsoleFront front(bell);
  app.InitInstance(front);
  return app.ExitInstance();
}

}  // namespace velnor

int main(int argc, char** argv) {
  return velnor::RunConsole(argc, argv);
}
