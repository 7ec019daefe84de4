// The listener and its session table, with a protocol that echoes.

#include "core/session_service.h"

#include <gtest/gtest.h>

#include "core/command_loop.h"
#include "core/log_service.h"
#include "core/socket_text.h"
#include "support/scripted_peer.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

class EchoSession : public SessionProtocol {
 public:
  explicit EchoSession(SessionSlot& slot) : slot_(slot) {}
  void Greet() override {
    SendFormat(slot_.Socket, "slot %d errors %d\n", slot_.SlotIndex, slot_.ErrorCount++);
  }
  void LogLine(std::string_view) override {}
  Session HandleLine(std::string_view line) override {
    SendString(slot_.Socket, "<" + std::string(line) + ">\n");
    return line == "quit" ? Session::ENDS : Session::GOES_ON;
  }
  void TimedOut() override {}
  void Disconnected() override { WriteLog(LOG_SYS, "slot %d disconnected", slot_.SlotIndex); }

 private:
  SessionSlot& slot_;
};

void EchoThread(SessionSlot& slot);
SessionService g_Echo{.Name = "ECHO",
                      .LogCategory = LOG_SYS,
                      .PortSetting = &CSystemConfig::SmtpPort,
                      .SessionThread = EchoThread};
void EchoThread(SessionSlot& slot) {
  EchoSession session(slot);
  RunSession(g_Echo, slot, session);
}

class SessionTable : public ::testing::Test {
 protected:
  SessionTable() {
    platform::StartSockets();
    g_SystemConfig.SmtpPort = FreePort();
  }
  ~SessionTable() override { StopSessionService(g_Echo); }

  static std::unique_ptr<PeerConnection> Connect() {
    return PeerConnection::Connect(g_SystemConfig.SmtpPort);
  }

  TestWorld world_;
};

TEST_F(SessionTable, HoldsNinetyNineSessionsAndUsesFreedSlotsAgain) {
  StartSessionService(g_Echo);
  std::vector<std::unique_ptr<PeerConnection>> clients;
  for (int i = 0; i < MAX_SESSIONS; ++i) {
    clients.push_back(Connect());
    ASSERT_EQ(clients.back()->ReadLine(), "slot " + std::to_string(i) + " errors 0\n");
  }
  EXPECT_EQ(Connect()->ReadToClose(), "");
  for (const std::size_t freed : {41u, 7u}) {
    clients[freed]->Send("quit\r\n");
    EXPECT_EQ(clients[freed]->ReadToClose(), "<quit>\n");
    EXPECT_TRUE(world_.WaitForLog("slot " + std::to_string(freed) + " disconnected"));
  }
  EXPECT_TRUE(WaitUntil([] { return g_Echo.SessionCount == 97; }));
  g_SystemConfig.AddRule("127.*");
  EXPECT_EQ(Connect()->ReadToClose(), "");
  g_SystemConfig.DeleteRule("127.*");
  clients[7] = Connect();
  EXPECT_EQ(clients[7]->ReadLine(), "slot 7 errors 0\n");
  EXPECT_NE(OpenSlot(g_Echo, 7), nullptr);
  for (const int closed : {-1, 41, 99, 100}) EXPECT_EQ(OpenSlot(g_Echo, closed), nullptr) << closed;

  StopSessionService(g_Echo);
  EXPECT_EQ(g_Echo.SessionCount, 0);
  for (const auto& client : clients) EXPECT_EQ(client->ReadToClose(), "");
  EXPECT_EQ(Connect(), nullptr);
  for (int round = 0; round < 3; ++round) {
    StartSessionService(g_Echo);
    EXPECT_EQ(Connect()->ReadLine(), "slot 0 errors 0\n") << "the port is free for the next start";
    StopSessionService(g_Echo);
  }
}

}  // namespace
}  // namespace velnor::test
