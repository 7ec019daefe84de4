#include "console/widgets/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>

#include "console/widgets/about_dialog.h"
#include "console/widgets/color_list.h"
#include "console/widgets/config_dialog.h"
#include "console/widgets/icons.h"
#include "console/widgets/log_model.h"
#include "console/widgets/logs_dialog.h"
#include "console/widgets/mail_list_dialog.h"
#include "console/widgets/text_conversion.h"
#include "console/widgets/tray.h"
#include "console/widgets/user_list_dialog.h"

namespace velnor {
namespace {

constexpr int DRAIN_MS = 20;  // lines that come within this time are shown together
constexpr int COLUMNS = 124;  // the log's first size, in characters
constexpr int ROWS = 28;

}  // namespace

CMainDialog::CMainDialog(CServerApp& app, Prompter& prompter, ServiceManager& manager, LogBell& bell)
    : logic_(app, prompter),
      services_(manager, prompter),
      prompter_(prompter),
      list_(new CColorListBox(this)),
      model_(new LogModel(logic_.Log(), this)),
      status_(new QLabel(this)),
      tray_(new TrayIcon(this)),
      running_icon_(ServerIcon(true)),
      stopped_icon_(ServerIcon(false)) {
  setWindowTitle(WINDOW_TITLE);
  MakeMenus();
  MakeToolBar();
  MakeLogActions();
  MakeTray();
  list_->setModel(model_);
  list_->setAccessibleName("Log");
  list_->setFrameShape(QFrame::NoFrame);
  setCentralWidget(list_);
  list_->setFocus();
  status_->setIndent(status_->fontMetrics().horizontalAdvance('0') / 2);
  status_->setText(ToQString(logic_.Tick()));
  statusBar()->addWidget(status_, 1);
  PlaceWindow();
  ShowState();

  drain_.setSingleShot(true);
  connect(&drain_, &QTimer::timeout, this, &CMainDialog::DrainLog);
  connect(&bell, &LogBell::Rang, this, [this] { drain_.start(DRAIN_MS); });
  drain_.start(0);
  connect(&tick_, &QTimer::timeout, this, &CMainDialog::Tick);
  tick_.start(TICK_MS);
}

// The view goes before the lines that it shows.
CMainDialog::~CMainDialog() {
  delete list_;
}

QAction* CMainDialog::MakeCommand(const CommandEntry& entry) {
  auto* const action = new QAction(entry.Caption, this);
  action->setData(entry.Id);
  action->setShortcut(QKeySequence(entry.Shortcut, QKeySequence::PortableText));
  connect(action, &QAction::triggered, this, [this, what = entry.What] { RunCommand(what); });
  return action;
}

void CMainDialog::MakeMenus() {
  for (const Menu& menu : MenuBar()) {
    QMenu* const shown = menuBar()->addMenu(menu.Title);
    for (const CommandEntry& entry : menu.Entries) {
      if (entry.What == Action::SEPARATOR) {
        shown->addSeparator();
      } else {
        shown->addAction(MakeCommand(entry));
      }
    }
  }
}

void CMainDialog::MakeToolBar() {
  QToolBar* const bar = addToolBar("Commands");
  const int side = qRound(16 * logicalDpiX() / 96.0);
  bar->setIconSize(QSize(side, side));
  bar->setMovable(false);
  for (const CommandEntry& entry : ToolBar()) {
    if (entry.What == Action::SEPARATOR) {
      bar->addSeparator();
      continue;
    }
    QAction* const action = MakeCommand(entry);
    action->setIcon(ActionIcon(entry.What));
    bar->addAction(action);
    // The log viewer's button has no tip, but whoever can't see its picture is told what it is.
    if (entry.What == Action::LOG_VIEW) bar->widgetForAction(action)->setAccessibleName("Log View");
  }
}

void CMainDialog::MakeLogActions() {
  for (const CommandEntry& entry : LogMenu()) {
    QAction* const action = MakeCommand(entry);
    action->setCheckable(entry.What == Action::PAUSE_LOG);
    addAction(action);
  }
}

void CMainDialog::MakeTray() {
  connect(tray_, &TrayIcon::RestoreWanted, this, &CMainDialog::RestoreFromTray);
  connect(tray_, &TrayIcon::Chosen, this, &CMainDialog::RunCommand);
  connect(tray_, &TrayIcon::MenuOpens, this, [this] {
    if (isVisible()) raise();
    OfferTrayCommands();
  });
}

void CMainDialog::PlaceWindow() {
  const QFontMetrics metrics = list_->fontMetrics();
  const QRect room = screen()->availableGeometry();
  const int bars = sizeHint().height() - list_->sizeHint().height();
  const QSize wanted(metrics.horizontalAdvance('0') * COLUMNS, metrics.lineSpacing() * ROWS + bars);
  resize(wanted.boundedTo(room.size() * 9 / 10));
  move(room.center() - rect().center());
}

QAction* CMainDialog::FindCommand(int id) const {
  for (QAction* const action : findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly)) {
    if (action->data().toInt() == id) return action;
  }
  return nullptr;
}

void CMainDialog::RunModal() {
  show();
  // In the event loop, so that what ends the program ends a message of the start-up with it.
  QTimer::singleShot(0, this, [this] {
    logic_.Initialise();
    ShowState();
  });
  QApplication::exec();
}

void CMainDialog::RunCommand(Action action) {
  // A dialog keeps the user from the window, but not from the tray.
  if (QApplication::activeModalWidget() != nullptr) return;
  Carry(action);
  ShowState();
}

void CMainDialog::Carry(Action action) {
  // A dialog of a minimised window may never show.
  QWidget* const owner = isVisible() && !isMinimized() ? this : nullptr;
  switch (action) {
    case Action::START:
      logic_.StartCommand();
      break;
    case Action::STOP:
      QApplication::setOverrideCursor(Qt::WaitCursor);  // it may wait for deliveries
      logic_.StopCommand();
      QApplication::restoreOverrideCursor();
      break;
    case Action::INSTALL_SERVICE:
      services_.InstallService();
      break;
    case Action::UNINSTALL_SERVICE:
      services_.UninstallService();
      break;
    case Action::STOP_SERVICE:
      services_.StopService();
      break;
    case Action::EXIT:
      if (logic_.ConfirmExit()) QApplication::exit(0);
      break;
    case Action::USERS:
      CUserListDialog(prompter_, owner).exec();
      break;
    case Action::CONFIGURATION:
      CConfigDialog(prompter_, owner).exec();
      break;
    case Action::MAIL_LISTS:
      CMailListDialog(prompter_, owner).exec();
      break;
    case Action::LOG_VIEW:
      CLogsDialog(prompter_, owner).exec();
      break;
    case Action::ABOUT:
      CAboutDialog(owner).exec();
      break;
    case Action::HELP:
      logic_.OpenHelp();
      break;
    case Action::WEBSITE:
      logic_.OpenWebsite();
      break;
    case Action::PAUSE_LOG:
      logic_.TogglePause();
      break;
    case Action::CLEAR_LOG:
      logic_.ClearLog();
      break;
    case Action::SEPARATOR:
      break;
  }
}

void CMainDialog::ShowState() {
  for (const int id : {ID_FILE_START, ID_TOOLBAR_START}) FindCommand(id)->setEnabled(logic_.OffersStart());
  for (const int id : {ID_FILE_STOP, ID_TOOLBAR_STOP}) FindCommand(id)->setEnabled(logic_.OffersStop());
  FindCommand(ID_LOG_PAUSE)->setChecked(logic_.Log().IsPaused());
  const QIcon& icon = logic_.ShowsRunningIcon() ? running_icon_ : stopped_icon_;
  setWindowIcon(icon);
  tray_->ShowIcon(icon);
  OfferTrayCommands();  // a tray may show the menu without asking for it anew
  FollowLog();
}

void CMainDialog::OfferTrayCommands() {
  tray_->Offer(logic_.OffersStart(), logic_.OffersStop(), QApplication::activeModalWidget() == nullptr);
}

void CMainDialog::Tick() {
  status_->setText(ToQString(logic_.Tick()));
  FollowLog();
  // A tray that went away must not take the hidden window with it.
  if (!isVisible() && !TrayIcon::IsThere()) showMinimized();
}

void CMainDialog::DrainLog() {
  // What is still waiting comes after the next paint and the next key.
  if (logic_.TakeLogLines()) drain_.start(0);
  FollowLog();
}

void CMainDialog::FollowLog() {
  const bool grown = model_->Follow();
  list_->SetLongestLine(logic_.Log().LongestLine());
  if (grown) list_->FollowEnd();
}

void CMainDialog::HideToTray() {
  if (!TrayIcon::IsThere()) {
    showMinimized();
    return;
  }
  placement_ = saveGeometry();
  hide();
}

void CMainDialog::RestoreFromTray() {
  if (!isVisible() && !placement_.isEmpty()) restoreGeometry(placement_);
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
  if (QWidget* const dialog = QApplication::activeModalWidget()) {
    dialog->raise();
    dialog->activateWindow();
  }
}

void CMainDialog::closeEvent(QCloseEvent* event) {
  event->ignore();
  HideToTray();
}

void CMainDialog::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  menu.addAction(FindCommand(ID_LOG_PAUSE));
  menu.addAction(FindCommand(ID_LOG_CLEAR));
  menu.addSeparator();
  QAction* const copy = menu.addAction("&Copy", QKeySequence::Copy, list_, &CColorListBox::CopySelection);
  copy->setEnabled(list_->selectionModel()->hasSelection());
  menu.addAction("Select &All", QKeySequence::SelectAll, list_, &CColorListBox::selectAll);
  menu.exec(event->globalPos());
}

}  // namespace velnor
