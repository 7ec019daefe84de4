// Signals as something that one thread waits for.
#pragma once

namespace platform {

enum class Signal { STOP, RELOAD, NONE };

// From now on the signals to stop (SIGTERM, SIGINT) and to reload (SIGHUP) interrupt nothing and wait for
// WaitForSignal. To be called before the process has a second thread.
void HoldSignals();

// Waits for the next of them, at most so long, or without end if the time is negative. NONE when the time is
// over. One thread.
Signal WaitForSignal(int milliseconds);

// For a program whose main thread waits for something else: from now on the signal to reload (SIGHUP), or
// those to stop (SIGTERM, SIGINT), make a descriptor readable, which is the result; -1 if there is none to be
// had. TakeSignal makes it wait for the next one. Other programs that this one starts are not touched by it.
int WatchReload();
int WatchStop();
void TakeSignal(int descriptor);

}  // namespace platform
