// An SMTP service on a port of the loopback, with a few accounts of example.test, for one test.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/system_config.h"
#include "smtp/smtp_listener.h"
#include "support/dialogue.h"

namespace velnor::test {

class SmtpWire : public ::testing::Test {
 protected:
  SmtpWire() {
    world_.AddAccount("example.test", "alice", "Secret-of-18-bytes");
    world_.AddAccount("example.test", "bob", "nineteen-bytes-pass");
    world_.AddAccount("example.test", "full", "", "MaxMailNum=0\n");
    world_.AddAccount("example.test", "closed", "Secret", "SmtpEnable=0\n");
    Start();
  }
  ~SmtpWire() override { SmtpStop(); }

  void Start() {
    g_SystemConfig.SmtpPort = 0;
    SmtpStart();
    port_ = platform::LocalPort(g_SmtpService.ListenSocket);
  }

  // A connection that has been greeted.
  std::unique_ptr<PeerConnection> Connect() {
    auto peer = PeerConnection::Connect(port_);
    EXPECT_EQ(ReadReply(*peer), "220 Velnor SMTP/ESMTP service ready");
    return peer;
  }

  // A connection whose message for bob is awaited.
  std::unique_ptr<PeerConnection> ConnectToData() {
    auto peer = Connect();
    Play(*peer, {{"HELO client.test", "250 OK"}});
    OpenMessage(*peer);
    return peer;
  }
  void OpenMessage(PeerConnection& peer) {
    Play(peer, {{"MAIL FROM:<s@far.test>", "250 OK"},
                {"RCPT TO:<bob@example.test>", "250 accept user"},
                {"DATA", "354 ready to receive mail data, end with CRLF.CRLF"}});
  }

  TestWorld world_;
  int port_ = 0;
};

}  // namespace velnor::test
