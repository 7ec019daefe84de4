// CLogsDialog: the files of the log directory, each opened by a double click in the viewer that the desktop
// has for it. The list is read once, when the dialog is made. Console thread.
#pragma once

#include <QDialog>

#include "console/logic/prompter.h"

class QListWidget;

namespace velnor {

class CLogsDialog : public QDialog {
  Q_OBJECT

 public:
  explicit CLogsDialog(Prompter& prompter, QWidget* parent = nullptr);

 private:
  void OpenSelected();

  Prompter& prompter_;
  QListWidget* files_;
};

}  // namespace velnor
