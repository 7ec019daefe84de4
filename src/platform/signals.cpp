#include "platform/signals.h"

#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

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

// Where the handler tells of the signal. Nothing that allocates or locks may run there.
volatile int g_reload_event = -1;

void TellReload(int) {
  const int error = errno;
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t count = ::write(g_reload_event, &one, sizeof one);
  errno = error;
}

}  // namespace

void HoldSignals() {
  const sigset_t held = HeldSignals();
  ::pthread_sigmask(SIG_BLOCK, &held, nullptr);
}

Signal WaitForSignal(int milliseconds) {
  const sigset_t held = HeldSignals();
  const timespec limit = {milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
  int number = -1;
  do {
    number = milliseconds < 0 ? ::sigwaitinfo(&held, nullptr) : ::sigtimedwait(&held, nullptr, &limit);
  } while (number < 0 && errno == EINTR);
  if (number < 0) return Signal::NONE;
  return number == SIGHUP ? Signal::RELOAD : Signal::STOP;
}

int WatchReload() {
  g_reload_event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (g_reload_event < 0) return -1;
  struct sigaction action {};
  action.sa_handler = TellReload;
  action.sa_flags = SA_RESTART;
  ::sigemptyset(&action.sa_mask);
  return ::sigaction(SIGHUP, &action, nullptr) == 0 ? g_reload_event : -1;
}

void TakeReload(int descriptor) {
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t size = ::read(descriptor, &count, sizeof count);
}

}  // namespace platform
