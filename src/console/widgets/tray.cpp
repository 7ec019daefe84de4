#include "console/widgets/tray.h"

#include "console/logic/main_window_logic.h"

namespace velnor {

TrayIcon::TrayIcon(QObject* parent) : QObject(parent) {
  for (const CommandEntry& entry : TrayMenu()) {
    if (entry.What == Action::SEPARATOR) {
      menu_.addSeparator();
      continue;
    }
    QAction* const action = menu_.addAction(entry.Caption);
    action->setData(entry.Id);
    connect(action, &QAction::triggered, this, [this, what = entry.What] { emit Chosen(what); });
  }
  connect(&menu_, &QMenu::aboutToShow, this, &TrayIcon::MenuOpens);
  connect(&icon_, &QSystemTrayIcon::activated, this, &TrayIcon::Activated);
  icon_.setToolTip(TRAY_TIP);
  icon_.setContextMenu(&menu_);
}

void TrayIcon::ShowIcon(const QIcon& icon) {
  icon_.setIcon(icon);
  icon_.show();
}

void TrayIcon::Offer(bool start, bool stop, bool others) {
  for (QAction* const action : menu_.actions()) {
    const int id = action->data().toInt();
    const bool offered = id == ID_TRAY_START ? start : id == ID_TRAY_STOP ? stop : true;
    action->setEnabled(offered && others);
  }
}

void TrayIcon::Activated(QSystemTrayIcon::ActivationReason reason) {
  // Many desktops report a single click where others report a double one, and never the latter.
  if (reason == QSystemTrayIcon::DoubleClick || reason == QSystemTrayIcon::Trigger) emit RestoreWanted();
}

}  // namespace velnor
