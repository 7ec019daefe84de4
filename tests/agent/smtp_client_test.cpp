#include "agent/smtp_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <future>

#include "agent/agent_world.h"
#include "support/scripted_peer.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using namespace test;

constexpr std::string_view LOOPBACK = "127.0.0.1";

struct Transmission {
  int Result;
  std::string Reply;
  std::string Wire;  // what the exchanger got behind DATA
};

// Sends a message to an exchanger that answers DATA and takes everything up to the end marker.
Transmission Transmit(platform::TextReader& message) {
  std::promise<ExchangerLog> log;
  ScriptedPeer peer([&](PeerConnection& client) { log.set_value(PlayExchanger(client)); });
  ReplyText reply;
  const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
  const int result = SendMessageData(socket, message, reply);
  platform::CloseSocket(socket);
  return {result, std::string(reply), log.get_future().get().Message};
}

TEST(SmtpExchange, OneReadIsOneReply) {
  const struct {
    std::string sent;
    int code;
    std::string text;
  } cases[] = {
      {"250-one\r\n250 two\r\n", 250, "250-one\r\n250 two"},
      {"\r\n", 0, ""},
      {"-2 no code\r\n", 0, "-2 no code"},
      {"4294967546 no code either\r\n", 2147483647, "4294967546 no code either"},
      {"250 a\0b\r\n"s, 250, "250 a"},
      {"%s%n%d\r\n", 0, "%s%n%d"},
      {"250 " + std::string(600, 'x'), 250, "250 " + std::string(251, 'x')},
      {"", SMTP_NO_REPLY, "network disconnected"},
  };
  for (const auto& c : cases) {
    ScriptedPeer peer([&](PeerConnection& client) {
      client.Send("220 ready\r\n");
      client.ReadLine();
      client.Send(c.sent);
    });
    ReplyText reply;
    const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
    EXPECT_EQ(SendHelo(socket, "example.test", reply), c.code) << c.sent;
    EXPECT_EQ(reply.View(), c.text);
    platform::CloseSocket(socket);
  }
}

TEST(ConnectSmtp, AGreetingWithoutEndAndNoneAreFailures) {
  const ScriptedPeer::Script flood = [](PeerConnection& client) {
    const std::string block(100'000, 'x');
    for (int blocks = 0; blocks < 100 && client.Send(block);) ++blocks;
  };
  const ScriptedPeer::Script close_at_once = [](PeerConnection&) {};
  for (const auto& script : {flood, close_at_once}) {
    ScriptedPeer peer(script);
    ReplyText reply;
    EXPECT_EQ(ConnectSmtp(LOOPBACK, reply, peer.Port()), platform::SOCKET_INVALID);
  }
}

TEST(SmtpExchange, NoAddressBeginsACommandOfItsOwn) {
  std::promise<ExchangerLog> log;
  ScriptedPeer peer([&](PeerConnection& client) { log.set_value(PlayExchanger(client)); });
  ReplyText reply;
  const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
  EXPECT_EQ(SendMailFrom(socket, "a%s@example.test", reply), 250);
  EXPECT_EQ(SendRcptTo(socket, "b\rDATA@other.test", reply), SMTP_NOT_SENT);
  EXPECT_EQ(reply.View(), "250 sender ok") << "a command that was not sent leaves the last reply";
  SendQuit(socket);
  platform::CloseSocket(socket);
  EXPECT_EQ(log.get_future().get().Commands, "MAIL FROM: <a%s@example.test>\r\nQUIT\r\n");
}

using SendMessageDataTest = AgentWorld;

TEST_F(SendMessageDataTest, SendsWhatTheStreamDeliversAndDoublesADotAlone) {
  const std::string long_line(5000, 'x');
  const std::string up_to_a_read(1021, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {"no line end", "no line end"},
      {"a bare\nline end", "a bare\nline end"},
      {long_line + "\r\n", long_line + "\r\n"},
      {"a NUL \0 and more\r\n"s, "a NUL \0 and more\r\n"s},
      {"..\r\n..dots stay doubled\r\n", "..\r\n..dots stay doubled\r\n"},
      {".\r\nMAIL FROM:<x@y>", "..\r\nMAIL FROM:<x@y>"},
      {"a\r\n.", "a\r\n.."},
      {up_to_a_read + "\r\n.\r\nb", up_to_a_read + "\r\n..\r\nb"},
  };
  for (const auto& [text, wire] : cases) {
    platform::TextReader message;
    OpenMessage(message, text);
    const Transmission sent = Transmit(message);
    EXPECT_EQ(sent.Result, 250) << text;
    EXPECT_EQ(sent.Wire, wire + "\r\n.\r\n");
    ExpectAtMessage(message, text);
  }
}

TEST_F(SendMessageDataTest, NothingIsDeliveredToAPeerThatIsGoneNorFromAnEmptyText) {
  platform::TextReader message;
  OpenMessage(message);
  ReplyText reply;
  for (const ExchangerReplies& replies : {ExchangerReplies{.Data = ""}, ExchangerReplies{.EndOfData = ""}}) {
    ScriptedPeer peer([&](PeerConnection& client) { PlayExchanger(client, replies); });
    const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
    EXPECT_EQ(SendMessageData(socket, message, reply), SMTP_NO_REPLY);
    EXPECT_EQ(reply.View(), "network disconnected");
    platform::CloseSocket(socket);
    EXPECT_EQ(SendMessageData(socket, message, reply), SMTP_DATA_REFUSED) << "a closed socket";
  }
  platform::TextReader empty;
  OpenMessage(empty, "");
  EXPECT_EQ(Transmit(empty).Result, SMTP_NOT_SENT);
}

TEST_F(SendMessageDataTest, AFaultOfTheDiskNeverEndsTheMessage) {
  const TornText text;
  platform::TextReader message;
  text.Open(message);
  const Transmission sent = Transmit(message);
  EXPECT_EQ(sent.Result, SMTP_MESSAGE_UNREADABLE);
  EXPECT_EQ(sent.Reply, "Data error");
  EXPECT_EQ(sent.Wire, text.WhatCanBeRead());
}

// An address that swallows what is sent to it: the queue of a port where nobody takes connections is filled
// up, and the system drops the first packet of each further one.
class SwallowingPort {
 public:
  SwallowingPort() {
    sockaddr_in endpoint{};
    endpoint.sin_family = AF_INET;
    endpoint.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof endpoint;
    auto* const where = reinterpret_cast<sockaddr*>(&endpoint);
    EXPECT_EQ(::bind(listener_, where, size), 0);
    EXPECT_EQ(::listen(listener_, 0), 0);
    EXPECT_EQ(::getsockname(listener_, where, &size), 0);
    port_ = ntohs(endpoint.sin_port);
    for (const int filler : fillers_)
      EXPECT_TRUE(::connect(filler, where, size) == 0 || errno == EINPROGRESS);
  }
  ~SwallowingPort() {
    for (const int filler : fillers_) ::close(filler);
    ::close(listener_);
  }
  int Port() const { return port_; }

 private:
  static int NewSocket() { return ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

  const int listener_ = NewSocket();
  const int fillers_[3] = {NewSocket(), NewSocket(), NewSocket()};
  int port_ = 0;
};

TEST(SmtpExchange, AConnectGivesUpOnAnAddressThatSwallowsPackets) {
  const SwallowingPort swallowing;
  const auto started = std::chrono::steady_clock::now();
  ReplyText reply;
  EXPECT_EQ(ConnectSmtp(LOOPBACK, reply, swallowing.Port()), platform::SOCKET_INVALID);
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::seconds(29));
}

}  // namespace
}  // namespace velnor
