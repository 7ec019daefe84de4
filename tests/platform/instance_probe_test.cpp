#include "platform/instance_probe.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/single_instance.h"
#include "platform/socket.h"

namespace platform {
namespace {

TEST(InstanceProbe, FindsTheHolderOfTheNameAndItsPorts) {
  const std::string name = "velnor-probe-test-" + std::to_string(::getpid());
  EXPECT_FALSE(ProbeInstance(name));
  {
    SingleInstance guard;
    ASSERT_TRUE(guard.Acquire(name));
    const Socket listener = OpenStreamSocket();
    ASSERT_EQ(BindSocket(listener, 0), 0);
    EXPECT_TRUE(ProbeInstance(name)->Ports.empty()) << "a port counts when it listens";
    ASSERT_EQ(ListenSocket(listener, 1), 0);

    const auto found = ProbeInstance(name);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->Id, ::getpid());
    EXPECT_EQ(found->Program, ProgramPath());
    EXPECT_EQ(found->Directory, CurrentDirectory());
    EXPECT_EQ(found->Ports, std::vector<int>{LocalPort(listener)});
    EXPECT_NEAR(static_cast<double>(found->Started), static_cast<double>(ProcessStartTime()) / 1000, 2);
    EXPECT_FALSE(ProbeInstance(name.substr(0, name.size() - 1))) << "a part of the name is another name";
    EXPECT_FALSE(RequestReload(name, ::getppid())) << "only the holder is signalled";
    CloseSocket(listener);
  }
  EXPECT_FALSE(ProbeInstance(name));
}

// Whether somebody who may not look at the holder of a name knows it as one of those that it may be. It is a
// process of this program.
bool IsSeenFromOutside(const std::string& name, std::int64_t id) {
  std::ifstream file("/proc/self/comm");
  std::string short_name;
  std::getline(file, short_name);
  const pid_t child = ::fork();
  if (child == 0) {
    // For anybody but the administrator it is enough that the process shows itself to nobody.
    if (::geteuid() == 0 && ::setuid(54321) != 0) ::_exit(2);
    const auto found = ProbeInstance(name);
    const bool seen =
        found && found->Id == 0 &&
        std::any_of(found->Hidden.begin(), found->Hidden.end(), [&](const HiddenProcess& process) {
          return process.Id == id && process.Name == short_name;
        });
    ::_exit(seen ? 0 : 1);
  }
  int status = -1;
  return ::waitpid(child, &status, 0) == child && status == 0;
}

TEST(InstanceProbe, TellsWhichProcessesTheHolderMayBe) {
  const std::string name = "velnor-hidden-test-" + std::to_string(::getpid());
  std::array<int, 2> ready{};
  ASSERT_EQ(::pipe(ready.data()), 0);
  // The holder is a process of its own, so that the one that looks does not inherit what it holds.
  const pid_t holder = ::fork();
  if (holder == 0) {
    SingleInstance guard;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_DUMPABLE, 0);
    const bool held = guard.Acquire(name) && ::write(ready[1], "x", 1) == 1;
    ::pause();
    ::_exit(held ? 0 : 1);
  }
  char held = 0;
  ASSERT_EQ(::read(ready[0], &held, 1), 1);
  EXPECT_TRUE(IsSeenFromOutside(name, holder));
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  for (const int end : ready) ::close(end);
}

}  // namespace
}  // namespace platform
