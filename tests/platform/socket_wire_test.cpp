// Sockets: numbers that are given out once, closing under a pending call, and what a close leaves of the
// bytes on their way.

#include "platform/socket.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <set>
#include <thread>

#include "platform/thread.h"
#include "support/resource_limit.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)
using platform::Socket;

constexpr int LONG_MS = 60'000;  // longer than any test may take

// A listener with one connection, seen from both of its ends.
class Connected : public ::testing::Test {
 protected:
  Connected() {
    StartSockets();
    BindSocket(listener_, 0);
    ListenSocket(listener_, 5);
    client_ = Connect();
    server_ = Accept();
  }
  ~Connected() override {
    for (const Socket socket : {client_, server_, listener_}) CloseSocket(socket);
  }

  Socket Connect() const {
    const Socket socket = OpenStreamSocket();
    EXPECT_EQ(ConnectSocket(socket, "127.0.0.1", LocalPort(listener_), LONG_MS), 0);
    return socket;
  }
  Socket Accept() const {
    DottedAddress peer;
    EXPECT_EQ(WaitReadable(listener_, LONG_MS), 1);
    const Socket socket = AcceptSocket(listener_, peer);
    EXPECT_EQ(peer.View(), "127.0.0.1");
    return socket;
  }

  const Socket listener_ = OpenStreamSocket();
  Socket client_ = SOCKET_NONE;
  Socket server_ = SOCKET_NONE;
};

// Whether the thread waits inside the system.
bool Sleeps(std::uint32_t thread_id) {
  const std::string stat = ReadFile("/proc/self/task/" + std::to_string(thread_id) + "/stat");
  const std::size_t name_end = stat.rfind(')');
  return name_end != std::string::npos && stat.substr(name_end, 3) == ") S";
}

TEST(SocketNumbers, AreGivenOutOnce) {
  StartSockets();
  std::set<Socket> numbers;
  for (int i = 0; i < 500; ++i) {
    const Socket socket = i % 2 == 0 ? OpenStreamSocket() : OpenDatagramSocket();
    EXPECT_GT(socket, SOCKET_NONE);
    EXPECT_TRUE(numbers.insert(socket).second);
    EXPECT_EQ(CloseSocket(socket), 0);
    EXPECT_EQ(CloseSocket(socket), -1);
  }
  char room[8];
  for (const Socket gone : {*numbers.begin(), *numbers.rbegin() + 1000, SOCKET_NONE, SOCKET_INVALID}) {
    EXPECT_EQ(CloseSocket(gone), -1);
    EXPECT_EQ(SendBytes(gone, "x"), -1);
    EXPECT_EQ(ReceiveBytes(gone, room), -1);
    EXPECT_EQ(WaitReadable(gone, LONG_MS), -1);
    EXPECT_EQ(BindSocket(gone, 0), -1);
    EXPECT_EQ(LastSocketError(), EBADF);
  }
}

TEST_F(Connected, CloseWakesWhateverIsPending) {
  char room[64];
  const Socket reader = Connect();
  const Socket silent = Accept();
  const Socket datagram = OpenDatagramSocket();
  BindSocket(datagram, 0);
  const std::string flood(64 << 20, 'x');
  const struct {
    const char* Name;
    Socket Target;
    std::function<std::int64_t()> Call;
  } cases[] = {
      {"read", reader, [&] { return ReceiveBytes(reader, room); }},
      {"receive a datagram", datagram, [&] { return ReceiveDatagram(datagram, room); }},
      {"send to a peer that takes nothing", server_, [&] { return SendBytes(server_, flood); }},
      {"wait for a connection", listener_, [&] { return WaitReadable(listener_, LONG_MS); }},
  };
  for (const auto& each : cases) {
    std::atomic<std::uint32_t> thread_id = 0;
    std::int64_t result = 0;
    int error = 0;
    std::thread pending([&] {
      thread_id = CurrentThreadId();
      result = each.Call();
      error = LastSocketError();
    });
    EXPECT_TRUE(WaitUntil([&] { return thread_id != 0 && Sleeps(thread_id); })) << each.Name;
    EXPECT_EQ(CloseSocket(each.Target), 0) << each.Name;
    pending.join();
    EXPECT_EQ(result, -1) << each.Name;
    EXPECT_EQ(error, EBADF) << each.Name;
  }
  CloseSocket(silent);
}

// A reply can be overtaken by the reset that answers unread bytes; after an orderly end the peer is not
// reset.
TEST_F(Connected, UnreadBytesDoNotResetThePeer) {
  const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(static_cast<std::uint16_t>(LocalPort(listener_)));
  endpoint.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::connect(client, reinterpret_cast<sockaddr*>(&endpoint), sizeof endpoint), 0);
  const Socket server = Accept();
  const std::string unread(50'000, 'x');
  ASSERT_EQ(::send(client, unread.data(), unread.size(), 0), static_cast<ssize_t>(unread.size()));
  EXPECT_EQ(SendBytes(server, "221 bye\r\n"), 9);
  CloseSocket(server);
  char room[64];
  EXPECT_EQ(::recv(client, room, sizeof room, MSG_WAITALL), 9);
  EXPECT_EQ(::recv(client, room, sizeof room, 0), 0);
  tcp_info info{};
  socklen_t size = sizeof info;
  ::getsockopt(client, IPPROTO_TCP, TCP_INFO, &info, &size);
  EXPECT_EQ(info.tcpi_state, TCP_CLOSE_WAIT);
  ::close(client);
}

TEST_F(Connected, SendsAllAndFailsForAPeerThatIsGone) {
  const std::string sent = std::string(8 << 20, 'm') + "end";
  std::string received;
  std::thread reader([&] {
    std::vector<char> room(1000);
    for (int count; (count = ReceiveBytes(client_, room)) > 0;) {
      received.append(room.data(), static_cast<std::size_t>(count));
    }
  });
  EXPECT_EQ(SendBytes(server_, sent, SendHint::MORE), static_cast<int>(sent.size()));
  CloseSocket(server_);
  reader.join();
  EXPECT_TRUE(received == sent);
  CloseSocket(client_);
  EXPECT_EQ(SendBytes(client_, "x"), -1);

  // The first write may still be taken by the system; one after it meets the reset, as a result and not as a
  // signal.
  const Socket next = Connect();
  CloseSocket(Accept());
  EXPECT_TRUE(WaitUntil([&] { return SendBytes(next, "x") == -1; }));
  CloseSocket(next);
}

TEST_F(Connected, PortsAndAddresses) {
  const int port = LocalPort(listener_);
  const Socket second = OpenStreamSocket();
  EXPECT_EQ(BindSocket(second, port), -1);
  EXPECT_EQ(LastSocketError(), EADDRINUSE);
  for (const int bad : {-1, 65536, 1 << 30}) EXPECT_EQ(BindSocket(second, bad), -1) << bad;
  for (const char* bad : {"", "localhost", "127.0.0.1 ", "127.1"}) {
    EXPECT_EQ(ConnectSocket(second, bad, port, LONG_MS), -1) << bad;
  }
  // The end that closes first leaves the port in a state that another bind must not stumble over.
  CloseSocket(server_);
  CloseSocket(client_);
  CloseSocket(listener_);
  EXPECT_EQ(ConnectSocket(second, "127.0.0.1", port, LONG_MS), -1);
  EXPECT_EQ(LastSocketError(), ECONNREFUSED);
  const Socket third = OpenStreamSocket();
  EXPECT_EQ(BindSocket(third, port), 0);
  EXPECT_EQ(ListenSocket(third, 5), 0);
  CloseSocket(second);
  CloseSocket(third);
}

TEST_F(Connected, WithoutADescriptorTheConnectionGoesOnWaiting) {
  const Socket waiting = Connect();
  ASSERT_EQ(WaitReadable(listener_, LONG_MS), 1);
  {
    const ResourceLimit no_descriptor(RLIMIT_NOFILE, 3);
    DottedAddress peer;
    EXPECT_EQ(AcceptSocket(listener_, peer), SOCKET_INVALID);
    EXPECT_EQ(LastSocketError(), EMFILE);
    EXPECT_EQ(OpenStreamSocket(), SOCKET_INVALID);
  }
  const Socket accepted = Accept();
  EXPECT_GT(accepted, SOCKET_NONE);
  CloseSocket(accepted);
  CloseSocket(waiting);
}

}  // namespace
}  // namespace velnor::test
