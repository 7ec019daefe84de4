// Signals that a program watches for while it waits for something else.

#include "platform/signals.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>

namespace platform {
namespace {

bool IsReadable(int descriptor) {
  pollfd waiting{descriptor, POLLIN, 0};
  return ::poll(&waiting, 1, 0) == 1;
}

TEST(Signals, EachOneIsToldWhereItIsWatchedForAndOnce) {
  const int reload = WatchReload();
  const int stop = WatchStop();
  const struct {
    int Number;
    int Told;
    int Quiet;
  } cases[] = {{SIGTERM, stop, reload}, {SIGHUP, reload, stop}, {SIGINT, stop, reload}};
  for (const auto& c : cases) {
    ::raise(c.Number);
    ::raise(c.Number);
    EXPECT_TRUE(IsReadable(c.Told)) << c.Number;
    EXPECT_FALSE(IsReadable(c.Quiet)) << c.Number;
    TakeSignal(c.Told);
    EXPECT_FALSE(IsReadable(c.Told)) << c.Number;
  }
}

}  // namespace
}  // namespace platform
