#include "support/dialogue.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace velnor::test {

std::string ReadReply(PeerConnection& peer) {
  const std::string line = peer.ReadLine();
  return line.ends_with("\r\n") ? line.substr(0, line.size() - 2) : line + "<cut>";
}

std::string Say(PeerConnection& peer, std::string_view line) {
  peer.Send(std::string(line) + "\r\n");
  return ReadReply(peer);
}

void Play(PeerConnection& peer, const Dialogue& dialogue) {
  for (const Turn& turn : dialogue) {
    peer.Send(turn.Line + "\r\n");
    std::istringstream expected(turn.Reply);
    for (std::string line; std::getline(expected, line);) {
      ASSERT_EQ(ReadReply(peer), line) << "in reply to: " << turn.Line;
    }
  }
}

std::vector<std::string> SessionLog(TestWorld& world) {
  static const std::regex number(R"(^\[\d+\])");
  std::vector<std::string> messages;
  for (const std::string& message : world.LogMessages()) {
    if (std::regex_search(message, number)) messages.push_back(std::regex_replace(message, number, "[id]"));
  }
  return messages;
}

}  // namespace velnor::test
