// A line protocol's dialogue as a table: what to send, and what must come back for it.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "support/scripted_peer.h"
#include "support/test_world.h"

namespace velnor::test {

// One line, or several that are sent one after the other and all get the same reply.
class Lines : public std::vector<std::string> {
 public:
  Lines(const char* line) : Lines({std::string(line)}) {}  // NOLINT(google-explicit-constructor)
  Lines(const std::string& line) : Lines({line}) {}        // NOLINT(google-explicit-constructor)
  Lines(std::initializer_list<std::string> lines) : vector(lines) {}
};

struct Turn {
  Lines Sent;         // each with CR LF behind it
  std::string Reply;  // without the last line end; several lines are joined by "\n"
};
using Dialogue = std::vector<Turn>;

// The next reply line without its CR LF; a line that lacks it is marked as cut.
std::string ReadReply(PeerConnection& peer);

// Sends a line and reads one reply line.
std::string Say(PeerConnection& peer, std::string_view line);

// Plays a dialogue up to the first reply that differs, which is a failure of the test.
void Play(PeerConnection& peer, const Dialogue& dialogue);

// The log messages of threads so far, with "[id]" in the place of the thread's number and "|" behind each;
// and how many of them are this one.
std::string ThreadLog(TestWorld& world);
int CountInLog(TestWorld& world, const std::string& message);

}  // namespace velnor::test
