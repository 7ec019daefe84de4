// A line protocol's dialogue as a table: a line to send, and what must come back for it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/scripted_peer.h"
#include "support/test_world.h"

namespace velnor::test {

struct Turn {
  std::string Line;   // sent with CR LF behind it
  std::string Reply;  // without the last line end; several lines are joined by "\n"
};
using Dialogue = std::vector<Turn>;

// The next reply line without its CR LF; a line that lacks it is marked as cut.
std::string ReadReply(PeerConnection& peer);

// Sends a line and reads one reply line.
std::string Say(PeerConnection& peer, std::string_view line);

// Plays a dialogue up to the first reply that differs, which is a failure of the test.
void Play(PeerConnection& peer, const Dialogue& dialogue);

// The log messages of sessions so far, with "[id]" in the place of the thread's number.
std::vector<std::string> SessionLog(TestWorld& world);

}  // namespace velnor::test
