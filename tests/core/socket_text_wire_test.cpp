// Lines on a connection: where they end, and that nothing behind one is lost to the next.

#include "core/socket_text.h"

#include <gtest/gtest.h>

#include "support/scripted_peer.h"

namespace velnor::test {
namespace {

using std::string_literals::operator""s;

// What the calls of RecvLine with a limit give, up to the peer's close: "value:line" each.
std::string Lines(const std::string& sent, bool by_byte, std::size_t limit) {
  const ScriptedPeer peer([&](PeerConnection& client) {
    const std::size_t step = by_byte ? 1 : sent.size();
    for (std::size_t i = 0; i < sent.size(); i += step) client.Send(std::string_view(sent).substr(i, step));
  });
  const Socket socket = platform::OpenStreamSocket();
  EXPECT_EQ(platform::ConnectSocket(socket, "127.0.0.1", peer.Port(), 60'000), 0);
  std::string all;
  for (int value = 0; value != RECV_LINE_CLOSED;) {
    std::string line = "from before";
    value = RecvLine(socket, line, limit);
    all += std::to_string(value) + ":" + line + " ";
  }
  platform::CloseSocket(socket);
  return all;
}

TEST(RecvLine, EndsALineAtItsLineEndOrLimit) {
  const struct {
    std::string Sent;
    std::size_t Limit;
    std::string Result;
  } cases[] = {
      {"abc\r\nx", 128, "4:abc -1:x "},           {"abc\n\n\r\n", 128, "3:abc 0: 1: -1: "},
      {"abcdefg\r\n", 4, "4:abcd 4:efg 0: -1: "}, {"a\rb\r\r\n", 128, "5:a\rb\r -1: "},
      {"a\0b\n"s, 128, "3:a\0b -1: "s},           {"", 128, "-1: "},
  };
  for (const auto& [sent, limit, result] : cases) {
    for (const bool by_byte : {false, true}) EXPECT_EQ(Lines(sent, by_byte, limit), result) << sent;
  }
}

}  // namespace
}  // namespace velnor::test
