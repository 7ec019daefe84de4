#include "platform/signals.h"

#include <signal.h>

namespace platform {
namespace {

sigset_t HeldSignals() {
  sigset_t held;
  ::sigemptyset(&held);
  ::sigaddset(&held, SIGTERM);
  ::sigaddset(&held, SIGINT);
  ::sigaddset(&held, SIGHUP);
  return held;
}

}  // namespace

void HoldSignals() {
  const sigset_t held = HeldSignals();
  ::pthread_sigmask(SIG_BLOCK, &held, nullptr);
}

Signal WaitForSignal() {
  const sigset_t held = HeldSignals();
  int number = 0;
  while (::sigwait(&held, &number) != 0) continue;
  return number == SIGHUP ? Signal::RELOAD : Signal::STOP;
}

}  // namespace platform
