// The console's pictures, drawn as vectors and so sharp at any size. Console thread.
#pragma once

#include <QIcon>

#include "console/logic/commands.h"

namespace velnor {

// The server's sign, in green while it counts as running and in red when it is stopped.
QIcon ServerIcon(bool running);

// The toolbar's picture of a command; none for one that has no place there.
QIcon ActionIcon(Action action);

// The strip on top of the about box, of the given size in pixels.
QPixmap AboutStrip(QSize pixels);

}  // namespace velnor
