// TrayIcon: the server's sign in the desktop's tray, with its menu. Console thread.
#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

#include "console/logic/commands.h"

namespace velnor {

class TrayIcon : public QObject {
  Q_OBJECT

 public:
  explicit TrayIcon(QObject* parent);

  // Whether the desktop has a tray now. One may come and go while the program runs.
  static bool IsThere() { return QSystemTrayIcon::isSystemTrayAvailable(); }

  void ShowIcon(const QIcon& icon);

 signals:
  void RestoreWanted();
  void Chosen(velnor::Action action);

  // The menu is about to open; what its entries offer is set by Offer.
  void MenuOpens();

 public slots:
  // Which of Start and Stop the menu offers; nothing at all while a dialog waits for its answer.
  void Offer(bool start, bool stop, bool others);

 private:
  void Activated(QSystemTrayIcon::ActivationReason reason);

  QMenu menu_;
  QSystemTrayIcon icon_;
};

}  // namespace velnor
