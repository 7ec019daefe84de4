// MainWindowLogic: what the main window does, without a window. The Start and Stop commands and what they
// switch, the exit question, the tick of a second, the road of log lines into the list, and the papers that
// the Help menu opens.
//
// It holds no server logic of its own: the services are CServerApp's. Console thread.
#pragma once

#include <string>

#include "console/logic/log_list.h"
#include "console/logic/prompter.h"
#include "core/server_app.h"

namespace velnor {

inline constexpr const char* WINDOW_TITLE = "Velnor";
inline constexpr const char* TRAY_TIP = "Velnor System v1.0";
inline constexpr int TICK_MS = 1000;

class MainWindowLogic {
 public:
  MainWindowLogic(CServerApp& app, Prompter& prompter) : app_(app), prompter_(prompter) {}

  // At the end of the window's initialisation: runs the Start command if AutoStart is exactly 1.
  void Initialise();

  // Refused with a message, and nothing changed, if the mail root is no directory.
  void StartCommand();
  void StopCommand();

  // What the toolbar and the menus offer, and which of the two pictures the tray and the window show. The
  // running picture also stands before the first Stop.
  bool OffersStart() const { return !app_.IsServerRunning(); }
  bool OffersStop() const { return app_.IsServerRunning(); }
  bool ShowsRunningIcon() const { return shows_running_icon_; }

  // Whether the user means to end the program.
  bool ConfirmExit();

  // Once a second. The text of the status bar.
  std::string Tick();

  // Moves a batch of waiting lines into the list. True if more may wait. A list that is paused loses them.
  bool TakeLogLines();

  // Both count for every line that was logged before: waiting ones are dealt with first.
  void TogglePause();
  void ClearLog();

  // Opens the administration guide, and the page that tells what Velnor is. A message where the paper is not
  // installed.
  void OpenHelp();
  void OpenWebsite();

  const LogList& Log() const { return log_; }

 private:
  void TakeAllLogLines();
  void OpenPaper(const std::string& name);

  CServerApp& app_;
  Prompter& prompter_;
  LogList log_;
  bool shows_running_icon_ = true;
};

}  // namespace velnor
