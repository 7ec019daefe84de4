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

// Where the handlers tell of a signal. Nothing that allocates or locks may run there.
volatile int g_reload_event = -1;
volatile int g_stop_event = -1;

void Tell(int event) {
  const int error = errno;
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t count = ::write(event, &one, sizeof one);
  errno = error;
}

void TellReload(int) {
  Tell(g_reload_event);
}

void TellStop(int) {
  Tell(g_stop_event);
}

int MakeEvent() {
  return ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

// Whether the handler is in the signal's place now.
bool Handle(int number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  ::sigemptyset(&action.sa_mask);
  return ::sigaction(number, &action, nullptr) == 0;
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
  g_reload_event = MakeEvent();
  if (g_reload_event < 0) return -1;
  return Handle(SIGHUP, TellReload) ? g_reload_event : -1;
}

int WatchStop() {
  g_stop_event = MakeEvent();
  if (g_stop_event < 0) return -1;
  return Handle(SIGTERM, TellStop) && Handle(SIGINT, TellStop) ? g_stop_event : -1;
}

void TakeSignal(int descriptor) {
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t size = ::read(descriptor, &count, sizeof count);
}

}  // namespace platform
