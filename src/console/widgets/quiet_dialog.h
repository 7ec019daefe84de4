// CQuietDialog: a dialog in which Enter and Escape do nothing; it ends by its buttons and its close box
// alone. Console thread.
#pragma once

#include <QDialog>
#include <QKeyEvent>

namespace velnor {

class CQuietDialog : public QDialog {
  Q_OBJECT

 public:
  using QDialog::QDialog;

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    const bool ends = event->matches(QKeySequence::Cancel) || event->key() == Qt::Key_Return ||
                      event->key() == Qt::Key_Enter;
    if (!ends) QDialog::keyPressEvent(event);
  }
};

}  // namespace velnor
