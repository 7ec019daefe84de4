// Reading the configuration anew while the services run. Console thread, or main thread without a window.
#pragma once

namespace velnor {

// Reads all files anew. What can't be read leaves everything as it was, and a log line says so.
void ReloadConfig();

}  // namespace velnor
