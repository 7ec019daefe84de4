// CMainDialog: the console's one top-level window. Menus, toolbar, the log of the services, the status line
// and the tray icon. What it does is decided in console/logic/main_window_logic.h.
//
// Console thread. Log lines reach it by the bell: whoever logs never waits for it.
#pragma once

#include <QByteArray>
#include <QIcon>
#include <QMainWindow>
#include <QTimer>

#include "console/logic/commands.h"
#include "console/logic/main_window_logic.h"
#include "console/logic/service_control.h"
#include "console/widgets/log_bell.h"

class QLabel;

namespace velnor {

class CColorListBox;
class LogModel;
class TrayIcon;

class CMainDialog : public QMainWindow {
  Q_OBJECT

 public:
  // All of them outlive the window.
  CMainDialog(CServerApp& app, Prompter& prompter, ServiceManager& manager, LogBell& bell);
  ~CMainDialog() override;

  // Shows the window and returns when the user has ended the program.
  void RunModal();

  // Takes the window off the screen and out of the task bar, and brings it back where it was. Where the
  // desktop has no tray the window is minimised instead.
  void HideToTray();
  void RestoreFromTray();

  // The command with this number, or none. For tests.
  QAction* FindCommand(int id) const;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void MakeMenus();
  void MakeToolBar();
  void MakeLogActions();
  void MakeTray();
  void PlaceWindow();
  QAction* MakeCommand(const CommandEntry& entry);

  void Carry(Action action);
  void RunCommand(Action action);
  void ShowState();
  void OfferTrayCommands();
  void Tick();
  void DrainLog();
  void FollowLog();

  MainWindowLogic logic_;
  ServiceControl services_;
  Prompter& prompter_;
  QTimer tick_;
  QTimer drain_;  // runs while log lines wait
  CColorListBox* list_;
  LogModel* model_;
  QLabel* status_;
  TrayIcon* tray_;
  const QIcon running_icon_;
  const QIcon stopped_icon_;
  QByteArray placement_;  // of the window while it is hidden
};

}  // namespace velnor
