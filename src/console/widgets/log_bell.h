// LogBell: wakes the console thread when log lines wait.
//
// It outlives the window and every service thread, so ringing is safe at any time; after the window's end
// nobody hears it.
#pragma once

#include <QObject>

namespace velnor {

class LogBell : public QObject {
  Q_OBJECT

 public:
  // Posts one event to the console thread and returns at once. Any thread.
  void Ring();

 signals:
  void Rang();
};

}  // namespace velnor
