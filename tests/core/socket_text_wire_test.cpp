// Lines on a connection: where they end, and that nothing behind them is taken.

#include "core/socket_text.h"

#include <gtest/gtest.h>

#include "support/scripted_peer.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

constexpr int LONG_MS = 60'000;

// A connection to a peer that plays a script.
class Connection {
 public:
  explicit Connection(ScriptedPeer::Script script) : peer_(std::move(script)) {
    EXPECT_EQ(platform::ConnectSocket(socket, "127.0.0.1", peer_.Port(), LONG_MS), 0);
  }
  ~Connection() { platform::CloseSocket(socket); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  const Socket socket = platform::OpenStreamSocket();

 private:
  ScriptedPeer peer_;
};

TEST(RecvLine, EndsALineAtItsLineEndOrLimit) {
  struct Result {
    int Value;
    std::string Line;
  };
  const struct {
    std::string Sent;
    std::size_t Limit;
    std::vector<Result> Results;
  } cases[] = {
      {"abc\r\nx", 128, {{4, "abc"}, {RECV_LINE_CLOSED, "x"}}},
      {"abc\n\n\r\n", 128, {{3, "abc"}, {0, ""}, {1, ""}, {RECV_LINE_CLOSED, ""}}},
      {"abcdefg\r\n", 4, {{4, "abcd"}, {4, "efg"}, {0, ""}, {RECV_LINE_CLOSED, ""}}},
      {"a\rb\r\r\n", 128, {{5, "a\rb\r"}}},
      {std::string("a\0b\n", 4), 128, {{3, std::string("a\0b", 3)}}},
      {"", 128, {{RECV_LINE_CLOSED, ""}}},
  };
  for (const auto& each : cases) {
    for (const bool by_byte : {false, true}) {
      const Connection connection([&](PeerConnection& peer) {
        for (std::size_t i = 0; i < each.Sent.size(); i += by_byte ? 1 : each.Sent.size()) {
          peer.Send(std::string_view(each.Sent).substr(i, by_byte ? 1 : std::string::npos));
        }
      });
      for (const Result& expected : each.Results) {
        std::string line = "from before";
        EXPECT_EQ(RecvLine(connection.socket, line, each.Limit), expected.Value) << each.Sent;
        EXPECT_EQ(line, expected.Line);
      }
    }
  }
}

TEST(RecvLine, TakesNoByteBehindTheLine) {
  const Connection connection([](PeerConnection& peer) {
    peer.Send("DATA\r\n.body");
    peer.ReadToClose();
  });
  std::string line;
  EXPECT_EQ(RecvLine(connection.socket, line, 128), 5);
  std::string rest;
  while (rest.size() < 5) {
    char room[64];
    const int count = RecvBytes(connection.socket, room);
    ASSERT_GT(count, 0);
    rest.append(room, static_cast<std::size_t>(count));
  }
  EXPECT_EQ(rest, ".body");
}

}  // namespace
}  // namespace velnor::test
