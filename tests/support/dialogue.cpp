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
  for (const auto& [lines, reply] : dialogue) {
    for (const std::string& line : lines) {
      peer.Send(line + "\r\n");
      std::istringstream expected(reply);
      for (std::string piece; std::getline(expected, piece);) {
        ASSERT_EQ(ReadReply(peer), piece) << "in reply to: " << line;
      }
    }
  }
}

std::string ThreadLog(TestWorld& world) {
  static const std::regex number(R"(^\[\d+\])");
  std::string log;
  for (const std::string& message : world.LogMessages()) {
    if (std::regex_search(message, number)) log += std::regex_replace(message, number, "[id]") + "|";
  }
  return log;
}

int CountInLog(TestWorld& world, const std::string& message) {
  const std::string log = "|" + ThreadLog(world);
  int count = 0;
  for (std::size_t at = 0; (at = log.find("|" + message + "|", at)) != std::string::npos; ++at) ++count;
  return count;
}

}  // namespace velnor::test
