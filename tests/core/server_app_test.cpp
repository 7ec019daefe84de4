// The application object: what it starts and stops in which order, and what it refuses.

#include "core/server_app.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <functional>
#include <thread>

#include "core/log_service.h"
#include "core/system_config.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> g_Events;

constexpr std::array SERVICES = {
    Service{[] { g_Events.emplace_back("start pop3"); }, [] { g_Events.emplace_back("stop pop3"); },
            [] { return 1; }},
    Service{[] { g_Events.emplace_back("start smtp"); }, [] { g_Events.emplace_back("stop smtp"); },
            [] { return 20; }},
    Service{[] { g_Events.emplace_back("start agent"); }, [] { g_Events.emplace_back("stop agent"); },
            [] { return 3; }},
};
const std::vector<std::string> STARTED = {"start pop3", "start smtp", "start agent"};
const std::vector<std::string> STOPPED = {"stop pop3", "stop smtp", "stop agent"};

class ScriptedFront : public AppFront {
 public:
  explicit ScriptedFront(std::function<void(CServerApp&)> script) : script_(std::move(script)) {}
  void AlreadyRunning() override {}
  void CannotStart(const std::string& reason) override { g_Events.push_back(reason); }
  void RunModal(CServerApp& app) override { script_(app); }

 private:
  const std::function<void(CServerApp&)> script_;
};

// Runs the application in a directory of its own, on a thread with a network of its own where the system
// allows that: the single instance's name belongs to the network.
class ServerApp : public ::testing::Test {
 protected:
  ServerApp() {
    g_Events.clear();
    fs::current_path(directory_);
  }
  ~ServerApp() override { fs::current_path("/"); }

  static void Run(const std::function<void(CServerApp&)>& script) {
    CServerApp app(SERVICES);
    ScriptedFront front(script);
    EXPECT_EQ(app.InitInstance(front), 0);
    EXPECT_EQ(app.ExitInstance(), 0);
    WriteLog(LOG_SYS, "too late");
    std::uint64_t dropped = 0;
    for (const LogLine& line : app.LogLines.Take(100, dropped)) {
      EXPECT_EQ(line.Text.find("too late"), std::string::npos);
    }
  }

  TestWorld world_;
  const fs::path directory_ = world_.Work();
};

TEST_F(ServerApp, StartsAndStopsItsServicesInOrder) {
  const auto script = [&](CServerApp& app) {
    EXPECT_EQ(FileNames(directory_), (std::vector<std::string>{"logs", "maillist.ini", "velnor.ini"}));
    std::string refusal;
    EXPECT_EQ(app.StartCommand(refusal), 1);
    EXPECT_TRUE(app.IsServerRunning());
    EXPECT_EQ(std::exchange(g_Events, {}), STARTED);
    EXPECT_EQ(app.StatusLine(), "POP3: 1    SMTP: 20    Delivers:3");
    app.StopServices();
    EXPECT_FALSE(app.IsServerRunning());
    EXPECT_EQ(std::exchange(g_Events, {}), STOPPED);
    app.StartServices();
    g_Events.clear();
  };
  std::thread([&] {
    ::unshare(CLONE_NEWNET);
    Run(script);
  }).join();
  EXPECT_EQ(g_Events, STOPPED) << "the end of the window stops what runs";
}

}  // namespace
}  // namespace velnor::test
