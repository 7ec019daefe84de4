#include "agent/smtp_client.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <future>

#include "support/scripted_peer.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using test::ExchangerLog;
using test::ExchangerReplies;
using test::PeerConnection;
using test::PlayExchanger;
using test::ScriptedPeer;

constexpr std::string_view LOOPBACK = "127.0.0.1";

// A connection to a peer, before any greeting.
class Connection {
 public:
  explicit Connection(const ScriptedPeer& peer) : socket_(platform::OpenStreamSocket()) {
    EXPECT_EQ(platform::ConnectSocket(socket_, LOOPBACK, peer.Port(), 5000), 0);
  }
  ~Connection() { Close(); }
  void Close() { platform::CloseSocket(socket_); }
  operator Socket() const { return socket_; }

 private:
  const Socket socket_;
};

// A message file with the given bytes, gone when the test ends.
class StoredMessage {
 public:
  explicit StoredMessage(std::string_view bytes) {
    char path[] = "/tmp/velnor_smtp_client_XXXXXX";
    ::close(::mkstemp(path));
    std::ofstream(path, std::ios::binary) << bytes;
    EXPECT_EQ(reader_.Open(path), 0);
    ::unlink(path);
  }
  operator platform::TextReader&() { return reader_; }

 private:
  platform::TextReader reader_;
};

struct Transmission {
  int Result;
  std::string Reply;
  std::string Wire;  // what the exchanger got behind DATA
};

// Sends a message to an exchanger that answers DATA and takes everything up to the end marker.
Transmission Transmit(platform::TextReader& message) {
  std::promise<ExchangerLog> log;
  ScriptedPeer peer(
      [&](PeerConnection& client) { log.set_value(PlayExchanger(client, {.EndOfData = "250 stored\r\n"})); });
  ReplyText reply;
  const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
  const int result = SendMessageData(socket, message, reply);
  platform::CloseSocket(socket);
  return {result, std::string(reply), log.get_future().get().Message};
}

// 10 MB without a line end.
void Flood(PeerConnection& client) {
  const std::string block(100'000, 'x');
  int blocks = 0;
  while (blocks < 100 && client.Send(block)) ++blocks;
}

TEST(ReadSmtpReply, OneReadIsOneReply) {
  const struct {
    std::string sent;
    int code;
    std::string text;
  } cases[] = {
      {"250 OK\r\n", 250, "250 OK"},
      {"250-one\r\n250 two\r\n", 250, "250-one\r\n250 two"},
      {" \t554 no \r\n", 554, "554 no"},
      {"250", 250, "250"},
      {"hello\r\n", 0, "hello"},
      {"\r\n", 0, ""},
      {"-2 no code\r\n", 0, "-2 no code"},
      {"4294967546 no code either\r\n", 2147483647, "4294967546 no code either"},
      {"250 a\0b\r\n"s, 250, "250 a"},
      {"%s%n%d\r\n", 0, "%s%n%d"},
      {"250 " + std::string(600, 'x'), 250, "250 " + std::string(251, 'x')},
      {"", SMTP_NO_REPLY, "network disconnected"},
  };
  for (const auto& c : cases) {
    ScriptedPeer peer([&](PeerConnection& client) { client.Send(c.sent); });
    const Connection connection(peer);
    ReplyText reply("as it stood");
    EXPECT_EQ(ReadSmtpReply(connection, reply), c.code) << c.sent;
    EXPECT_EQ(reply.View(), c.text);
  }
}

TEST(ConnectSmtp, WantsAGreetingOf220) {
  const struct {
    const char* what;
    ScriptedPeer::Script script;
    bool connected;
  } cases[] = {
      {"220", [](PeerConnection& c) { c.Send("220 ready\r\n"); }, true},
      {"several lines in one segment", [](PeerConnection& c) { c.Send("220-a\r\n220 b\r\n"); }, true},
      {"554", [](PeerConnection& c) { c.Send("554 go away\r\n"); }, false},
      {"closes", [](PeerConnection&) {}, false},
      {"no line end for 10 MB", [](PeerConnection& c) { Flood(c); }, false},
      {"a byte at a time", [](PeerConnection& c) { c.Send("2"), c.ReadToClose(); }, false},
  };
  for (const auto& c : cases) {
    ScriptedPeer peer(c.script);
    ReplyText reply("as it stood");
    const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
    EXPECT_EQ(socket != platform::SOCKET_INVALID, c.connected) << c.what;
    EXPECT_EQ(reply.empty(), c.connected) << c.what;
    platform::CloseSocket(socket);
  }
  ReplyText reply;
  EXPECT_EQ(ConnectSmtp("not an address", reply), platform::SOCKET_INVALID);
}

TEST(ConnectSmtp, ALateLineOfTheGreetingIsTheReplyToHelo) {
  ScriptedPeer peer([](PeerConnection& client) {
    client.Send("220-first\r\n");
    client.ReadLine();
    client.Send("220 second\r\n");
    client.ReadToClose();
  });
  ReplyText reply;
  const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
  EXPECT_EQ(SendHelo(socket, "example.test", reply), 220);
  EXPECT_EQ(reply.View(), "220 second");
  platform::CloseSocket(socket);
}

TEST(SmtpExchange, CommandsToTheByte) {
  std::promise<ExchangerLog> log;
  ScriptedPeer peer([&](PeerConnection& client) { log.set_value(PlayExchanger(client)); });
  StoredMessage message("Subject: x\r\r\n");
  ReplyText reply;
  const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
  EXPECT_EQ(SendHelo(socket, "example.test", reply), 250);
  EXPECT_EQ(SendMailFrom(socket, "a%s@example.test", reply), 250);
  EXPECT_EQ(SendRcptTo(socket, "b\rDATA@other.test", reply), SMTP_NOT_SENT);
  EXPECT_EQ(reply.View(), "250 sender ok") << "a command that was not sent leaves the last reply";
  EXPECT_EQ(SendRcptTo(socket, "b@other.test", reply), 250);
  EXPECT_EQ(SendMessageData(socket, message, reply), 250);
  EXPECT_EQ(reply.View(), "250 stored");
  SendQuit(socket);
  platform::CloseSocket(socket);

  const ExchangerLog received = log.get_future().get();
  EXPECT_EQ(
      received.Commands,
      "HELO example.test\r\nMAIL FROM: <a%s@example.test>\r\nRCPT TO: <b@other.test>\r\nDATA\r\nQUIT\r\n");
  EXPECT_EQ(received.Message, "Subject: x\r\n\r\n.\r\n");
}

TEST(SmtpExchange, APeerThatClosesAtAnyStep) {
  StoredMessage message("text\r\r\n");
  const struct {
    ExchangerReplies replies;
    int tried;  // steps up to and including the one that fails
  } cases[] = {
      {{.Helo = ""}, 1}, {{.MailFrom = ""}, 2},  {{.RcptTo = [](std::string_view) { return ""; }}, 3},
      {{.Data = ""}, 4}, {{.EndOfData = ""}, 4},
  };
  for (const auto& c : cases) {
    ScriptedPeer peer([&](PeerConnection& client) { PlayExchanger(client, c.replies); });
    ReplyText reply;
    const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
    const std::function<int()> steps[] = {
        [&] { return SendHelo(socket, "example.test", reply); },
        [&] { return SendMailFrom(socket, "a@example.test", reply); },
        [&] { return SendRcptTo(socket, "b@other.test", reply); },
        [&] { return SendMessageData(socket, message, reply); },
    };
    int result = 250;
    int tried = 0;
    for (auto step = std::begin(steps); step != std::end(steps) && result == 250; ++step, ++tried) {
      result = (*step)();
    }
    EXPECT_EQ(result, SMTP_NO_REPLY);
    EXPECT_EQ(tried, c.tried);
    EXPECT_EQ(reply.View(), "network disconnected");
    platform::CloseSocket(socket);
  }
}

TEST(SmtpExchange, NothingCanBeSentOnAClosedSocket) {
  ScriptedPeer peer([](PeerConnection& client) { client.ReadToClose(); });
  Connection connection(peer);
  connection.Close();
  StoredMessage message("text\r\r\n");
  ReplyText reply("250 the last one");
  EXPECT_EQ(SendHelo(connection, "example.test", reply), SMTP_NOT_SENT);
  EXPECT_EQ(SendMessageData(connection, message, reply), SMTP_DATA_REFUSED);
  EXPECT_EQ(ReadSmtpReply(connection, reply), SMTP_NO_REPLY);
  EXPECT_EQ(reply.View(), "250 the last one");
}

TEST(SendMessageData, SendsWhatTheStreamDelivers) {
  const std::string long_line(5000, 'x');
  const struct {
    std::string stored;
    std::string wire;
  } cases[] = {
      {"a\r\r\nb\r\r\n", "a\r\nb\r\n\r\n.\r\n"},
      {"no line end", "no line end\r\n.\r\n"},
      {"a bare\r\nline end", "a bare\nline end\r\n.\r\n"},
      {"..\r\r\n..dots stay doubled\r\r\n", "..\r\n..dots stay doubled\r\n\r\n.\r\n"},
      {long_line + "\r\r\n", long_line + "\r\n\r\n.\r\n"},
      {"a NUL \0 and more\r\r\n"s, "a NUL \0 and more\r\n\r\n.\r\n"s},
  };
  for (const auto& c : cases) {
    StoredMessage message(c.stored);
    for (int group = 1; group <= 2; ++group) {
      const Transmission sent = Transmit(message);
      EXPECT_EQ(sent.Result, 250) << c.stored;
      EXPECT_EQ(sent.Wire, c.wire) << "group " << group;
    }
  }
}

TEST(SendMessageData, ADotAloneInALineDoesNotEndTheMessage) {
  const std::string up_to_a_read(1021, 'x');
  const struct {
    std::string stored;
    std::string wire;
  } cases[] = {
      {"a\r\r\n.\r\r\nMAIL FROM:<x@y>\r\r\n", "a\r\n..\r\nMAIL FROM:<x@y>\r\n\r\n.\r\n"},
      {".\r\r\nMAIL FROM:<x@y>", "..\r\nMAIL FROM:<x@y>\r\n.\r\n"},
      {"a\r\r\n.", "a\r\n..\r\n.\r\n"},
      {"a\r\n.\r\nb", "a\n..\nb\r\n.\r\n"},
      {"a\r.\rb", "a\r..\rb\r\n.\r\n"},
      {up_to_a_read + "\r\r\n.\r\r\nb", up_to_a_read + "\r\n..\r\nb\r\n.\r\n"},
  };
  for (const auto& c : cases) {
    StoredMessage message(c.stored);
    const Transmission sent = Transmit(message);
    EXPECT_EQ(sent.Result, 250) << c.stored;
    EXPECT_EQ(sent.Wire, c.wire);
  }
}

TEST(SendMessageData, AnEmptyTextIsNotSent) {
  StoredMessage message("");
  const Transmission sent = Transmit(message);
  EXPECT_EQ(sent.Result, SMTP_NOT_SENT);
  EXPECT_EQ(sent.Reply, "Data error");
}

TEST(SendMessageData, ARefusalOfDataKeepsThePeersText) {
  ScriptedPeer peer([](PeerConnection& client) { PlayExchanger(client, {.Data = "451 later\r\n"}); });
  StoredMessage message("text\r\r\n");
  ReplyText reply;
  const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
  EXPECT_EQ(SendMessageData(socket, message, reply), SMTP_DATA_REFUSED);
  EXPECT_EQ(reply.View(), "451 later");
  platform::CloseSocket(socket);
}

TEST(SendMessageData, AFaultOfTheDiskNeverEndsTheMessage) {
  // A page of text in this process's own memory with a hole behind it: a file whose reading fails in the
  // middle.
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  char* const text = static_cast<char*>(
      ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(static_cast<void*>(text), MAP_FAILED);
  std::memset(text, 'x', page);
  ASSERT_EQ(::munmap(text + page, page), 0);
  platform::TextReader message;
  ASSERT_EQ(message.Open("/proc/self/mem"), 0);
  message.Seek(static_cast<platform::TextReader::Position>(reinterpret_cast<std::uintptr_t>(text)));

  const Transmission sent = Transmit(message);
  EXPECT_EQ(sent.Result, SMTP_MESSAGE_UNREADABLE);
  EXPECT_EQ(sent.Reply, "Data error");
  EXPECT_EQ(sent.Wire, std::string(page, 'x'));
  ::munmap(text, page);
}

TEST(SendMessageData, LinesTravelTogether) {
  constexpr unsigned LINES = 2000;
  std::string stored;
  for (unsigned line = 0; line < LINES; ++line) stored += "a line of text\r\r\n";
  StoredMessage message(stored);
  std::promise<unsigned> segments;
  ScriptedPeer peer([&](PeerConnection& client) {
    PlayExchanger(client);
    segments.set_value(client.SegmentsReceived());
  });
  ReplyText reply;
  const Socket socket = ConnectSmtp(LOOPBACK, reply, peer.Port());
  EXPECT_EQ(SendMessageData(socket, message, reply), 250);
  platform::CloseSocket(socket);
  EXPECT_LT(segments.get_future().get(), LINES / 10);
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

TEST(SmtpExchange, SilenceEndsEveryWait) {
  ScriptedPeer silent([](PeerConnection& client) { client.ReadToClose(); });
  ScriptedPeer silent_at_the_end([](PeerConnection& client) {
    client.Send("354 go ahead\r\n");
    client.ReadToClose();
  });
  const SwallowingPort swallowing;
  std::atomic<bool> connect_ended = false;

  auto connect = std::async(std::launch::async, [&] {
    ReplyText reply;
    const Socket socket = ConnectSmtp(LOOPBACK, reply, swallowing.Port());
    connect_ended = true;
    return socket;
  });
  auto greeting = std::async(std::launch::async, [&] {
    ReplyText reply;
    return ConnectSmtp(LOOPBACK, reply, silent.Port());
  });
  auto helo = std::async(std::launch::async, [&] {
    const Connection connection(silent);
    ReplyText reply;
    const int result = SendHelo(connection, "example.test", reply);
    EXPECT_TRUE(reply.empty());
    return result;
  });
  auto data = std::async(std::launch::async, [&] {
    const Connection connection(silent_at_the_end);
    StoredMessage message("text\r\r\n");
    ReplyText reply;
    const int result = SendMessageData(connection, message, reply);
    EXPECT_EQ(reply.View(), "354 go ahead") << "a time-out leaves the last reply";
    return result;
  });

  EXPECT_EQ(greeting.get(), platform::SOCKET_INVALID);
  EXPECT_EQ(helo.get(), SMTP_NO_REPLY);
  EXPECT_EQ(data.get(), SMTP_NO_REPLY);
  EXPECT_FALSE(connect_ended) << "a connection has more time than a reply";
  EXPECT_EQ(connect.get(), platform::SOCKET_INVALID);
}

}  // namespace
}  // namespace velnor
