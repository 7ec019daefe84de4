#include "console/widgets/log_bell.h"

namespace velnor {

void LogBell::Ring() {
  QMetaObject::invokeMethod(this, &LogBell::Rang, Qt::QueuedConnection);
}

}  // namespace velnor
