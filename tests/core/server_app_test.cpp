// The application object: what it starts and stops in which order.

#include "core/server_app.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <array>
#include <functional>
#include <thread>

#include "core/log_service.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

std::string g_Events;

template <char Name, int Live>
constexpr Service SERVICE = {[] { (g_Events += '+') += Name; }, [] { (g_Events += '-') += Name; },
                             [] { return Live; }};
constexpr std::array SERVICES = {SERVICE<'p', 1>, SERVICE<'s', 20>, SERVICE<'a', 3>};

class ScriptedFront : public AppFront {
 public:
  void AlreadyRunning() override { g_Events = "running already"; }
  void CannotStart(const std::string& reason) override { g_Events = reason; }
  void RunModal(CServerApp& app) override {
    std::string refusal;
    EXPECT_EQ(app.StartCommand(refusal), 1);
    EXPECT_TRUE(app.IsServerRunning());
    EXPECT_EQ(app.StatusLine(), "POP3: 1    SMTP: 20    Delivers:3");
    app.StopServices();
    EXPECT_FALSE(app.IsServerRunning());
    app.StartServices();
  }
};

// On a thread with a network of its own where the system allows that: the single instance's name belongs to
// the network.
TEST(ServerApp, StartsAndStopsItsServicesInOrder) {
  const TestWorld world;
  std::filesystem::current_path(world.Work());
  std::thread([] {
    ::unshare(CLONE_NEWNET);
    CServerApp app(SERVICES);
    ScriptedFront front;
    EXPECT_EQ(app.InitInstance(front), 0);
    EXPECT_EQ(app.ExitInstance(), 0);
    WriteLog(LOG_SYS, "too late");
    std::uint64_t dropped = 0;
    EXPECT_TRUE(app.LogLines.Take(100, dropped).empty());
  }).join();
  EXPECT_EQ(g_Events, "+p+s+a-p-s-a+p+s+a-p-s-a") << "the end of the window stops what runs";
  std::filesystem::current_path("/");
}

}  // namespace
}  // namespace velnor::test
