#include "platform/instance_probe.h"

#include <gtest/gtest.h>
#include <unistd.h>

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

}  // namespace
}  // namespace platform
