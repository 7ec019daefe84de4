// A POP3 service on a port of the loopback, with the account alice@example.test, for one test.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/system_config.h"
#include "pop3/pop3_listener.h"
#include "support/dialogue.h"

namespace velnor::test {

class Pop3Wire : public ::testing::Test {
 protected:
  Pop3Wire() {
    world_.AddAccount("example.test", "alice", "Secret");
    Start();
  }
  ~Pop3Wire() override { Pop3Stop(); }

  void Start() {
    g_SystemConfig.Pop3Port = 0;
    Pop3Start();
    port_ = platform::LocalPort(g_Pop3Service.ListenSocket);
  }

  // A connection that has been greeted.
  std::unique_ptr<PeerConnection> Connect() {
    auto peer = PeerConnection::Connect(port_);
    EXPECT_EQ(ReadReply(*peer), "+OK Velnor pop3 service ready");
    return peer;
  }

  // A connection that is logged on as alice.
  std::unique_ptr<PeerConnection> ConnectAndLogOn() {
    auto peer = Connect();
    Play(*peer, {{"USER alice@example.test", "+OK user alice accepted"}});
    EXPECT_TRUE(Say(*peer, "PASS Secret").starts_with("+OK "));
    return peer;
  }

  std::filesystem::path Inbox() const { return world_.Inbox("example.test", "alice"); }

  // Puts messages of 10 bytes into the Inbox, alike but for their names. What a session tells of them does
  // not depend on their order.
  void PutMessages(int count) {
    for (int i = 0; i < count; ++i) WriteFile(Inbox() / ("n" + std::to_string(i)), "A: b\r\n\r\nc\n");
  }

  TestWorld world_;
  int port_ = 0;
};

}  // namespace velnor::test
