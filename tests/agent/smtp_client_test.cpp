#include "agent/smtp_client.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <future>

#include "agent/agent_world.h"
#include "support/scripted_peer.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using namespace test;
using Replies = std::vector<std::string>;

constexpr std::string_view LOOPBACK = "127.0.0.1";

// An exchange with an exchanger that plays its replies and then hangs up, and what it heard.
class Exchange {
 public:
  explicit Exchange(Replies replies)
      : peer_([this, replies = std::move(replies)](PeerConnection& client) {
          std::string heard;
          for (const std::string& reply : replies) {
            client.Send(reply);
            heard += client.ReadUntil(reply.starts_with("354") ? "\r\n.\r\n" : "\n");
          }
          heard_.set_value(heard);
        }),
        Connection(ConnectSmtp(LOOPBACK, Reply, peer_.Port())) {}
  ~Exchange() { platform::CloseSocket(Connection); }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  std::string Heard() {
    platform::CloseSocket(Connection);
    return heard_.get_future().get();
  }

 private:
  std::promise<std::string> heard_;
  ScriptedPeer peer_;

 public:
  ReplyText Reply;
  const Socket Connection;
};

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
    Replies replies = {"220 ready\r\n"};
    if (!c.sent.empty()) replies.push_back(c.sent);
    Exchange exchange(replies);
    EXPECT_EQ(SendHelo(exchange.Connection, "example.test", exchange.Reply), c.code) << c.sent;
    EXPECT_EQ(exchange.Reply.View(), c.text);
  }
}

TEST(SmtpExchange, AGreetingWithoutEndAndNoneAreFailures) {
  for (const Replies& greetings : {Replies{std::string(10'000'000, 'x')}, Replies()}) {
    EXPECT_EQ(Exchange(greetings).Connection, platform::SOCKET_INVALID);
  }
}

TEST(SmtpExchange, NoAddressBeginsACommandOfItsOwn) {
  Exchange exchange({"220 ready\r\n", "250 sender ok\r\n", ""});
  EXPECT_EQ(SendMailFrom(exchange.Connection, "a%s@example.test", exchange.Reply), 250);
  EXPECT_EQ(SendRcptTo(exchange.Connection, "b\rDATA@other.test", exchange.Reply), SMTP_NOT_SENT);
  EXPECT_EQ(exchange.Reply.View(), "250 sender ok") << "a command that was not sent leaves the last reply";
  SendQuit(exchange.Connection);
  EXPECT_EQ(exchange.Heard(), "MAIL FROM: <a%s@example.test>\r\nQUIT\r\n");
}

using SendMessageDataTest = AgentWorld;

TEST_F(SendMessageDataTest, SendsWhatTheStreamDeliversAndDoublesADotAlone) {
  const std::string up_to_a_read(1021, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {MESSAGE, MESSAGE},
      {"a NUL \0 and more\r\n"s, "a NUL \0 and more\r\n"s},
      {".\r\nMAIL FROM:<x@y>", "..\r\nMAIL FROM:<x@y>"},
      {"a\r\n.", "a\r\n.."},
      {up_to_a_read + "\r\n.\r\nb", up_to_a_read + "\r\n..\r\nb"},
  };
  for (const auto& [text, wire] : cases) {
    platform::TextReader message;
    OpenMessage(message, text);
    Exchange exchange({"220 ready\r\n", "354 go ahead\r\n", "250 stored\r\n"});
    EXPECT_EQ(SendMessageData(exchange.Connection, message, exchange.Reply), 250) << text;
    EXPECT_EQ(exchange.Heard(), "DATA\r\n" + wire + "\r\n.\r\n");
    ExpectAtMessage(message, text);
  }
}

TEST_F(SendMessageDataTest, NothingIsDeliveredToAPeerThatIsGoneNorFromATextThatCantBeRead) {
  platform::TextReader message;
  OpenMessage(message);
  for (const Replies& replies : {Replies{"220 ready\r\n"}, Replies{"220 ready\r\n", "354 go ahead\r\n"}}) {
    Exchange exchange(replies);
    EXPECT_EQ(SendMessageData(exchange.Connection, message, exchange.Reply), SMTP_NO_REPLY);
    EXPECT_EQ(exchange.Reply.View(), "network disconnected");
    platform::CloseSocket(exchange.Connection);
    EXPECT_EQ(SendMessageData(exchange.Connection, message, exchange.Reply), SMTP_DATA_REFUSED)
        << "a closed socket";
  }
  platform::TextReader empty;
  OpenMessage(empty, "");
  platform::TextReader torn;
  const std::string readable = OpenTornText(torn);
  for (const bool is_torn : {false, true}) {
    Exchange exchange({"220 ready\r\n", "354 go ahead\r\n"});
    EXPECT_EQ(SendMessageData(exchange.Connection, is_torn ? torn : empty, exchange.Reply),
              is_torn ? SMTP_MESSAGE_UNREADABLE : SMTP_NOT_SENT);
    EXPECT_EQ(exchange.Reply.View(), "Data error");
    EXPECT_EQ(exchange.Heard(), "DATA\r\n" + (is_torn ? readable : "")) << "without an end marker";
  }
}

// The queue of a port where nobody takes connections is filled up, so that the system drops the first packet
// of each further one.
TEST(SmtpExchange, AConnectGivesUpOnAnAddressThatSwallowsPackets) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(::listen(listener, 0), 0);
  sockaddr_in endpoint{};
  socklen_t size = sizeof endpoint;
  ASSERT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&endpoint), &size), 0);
  const int port = ntohs(endpoint.sin_port);
  std::vector<Socket> fillers;
  do {
    fillers.push_back(platform::OpenStreamSocket());
  } while (platform::ConnectSocket(fillers.back(), LOOPBACK, port, 100) == 0);
  const auto started = std::chrono::steady_clock::now();
  ReplyText reply;
  EXPECT_EQ(ConnectSmtp(LOOPBACK, reply, port), platform::SOCKET_INVALID);
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::seconds(29));
  for (const Socket filler : fillers) platform::CloseSocket(filler);
  ::close(listener);
}

}  // namespace
}  // namespace velnor
