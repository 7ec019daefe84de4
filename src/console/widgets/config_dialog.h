// CConfigDialog: the configuration, three pages of which one shows, chosen from a list. It has no buttons of
// its own; each page stores what its commands change. Console thread.
#pragma once

#include <QDialog>

#include "console/logic/prompter.h"

namespace velnor {

class CConfigDialog : public QDialog {
  Q_OBJECT

 public:
  CConfigDialog(Prompter& prompter, QWidget* parent);
};

}  // namespace velnor
