// Signals as something that one thread waits for.
#pragma once

namespace platform {

enum class Signal { STOP, RELOAD };

// From now on the signals to stop (SIGTERM, SIGINT) and to reload (SIGHUP) interrupt nothing and wait for
// WaitForSignal. To be called before the process has a second thread.
void HoldSignals();

// Waits for the next of them. One thread.
Signal WaitForSignal();

}  // namespace platform
