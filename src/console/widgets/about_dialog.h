// CAboutDialog: a picture strip, one text box, and a button for each page that fills it. Console thread.
#pragma once

#include <QDialog>

namespace velnor {

class CAboutDialog : public QDialog {
  Q_OBJECT

 public:
  explicit CAboutDialog(QWidget* parent = nullptr);
};

}  // namespace velnor
