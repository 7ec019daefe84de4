// Text on sockets: sending a line, reading a line. No state; any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/socket.h"

namespace velnor {

using platform::Socket;

inline constexpr int RECV_LINE_CLOSED = -1;   // the peer is gone
inline constexpr int RECV_LINE_TIMEOUT = -2;  // nothing came for 60 seconds, or the socket was closed here

// Sends a formatted text, cut at 1023 bytes, as one send. The number of bytes sent, or -1 for a peer that is
// gone.
[[gnu::format(printf, 2, 3)]] int SendFormat(Socket socket, const char* format, ...);

// Sends a text of any length as one send. The bytes may hold NUL. Results as above; 0 for an empty text.
int SendString(Socket socket, std::string_view text, platform::SendHint hint = platform::SendHint::LAST);

// One read of at most `room.size()` bytes: the number, 0 when the peer has closed, -1 for an error.
int RecvBytes(Socket socket, std::span<char> room);

// Reads one line of at most `limit` bytes, waiting at most 60 seconds for each of them, and takes no byte
// beyond it. The line's length, in which the LF does not count and a CR before it does although it is not in
// `line`; or one of the two values above, with what came so far in `line`. A line that reaches the limit
// comes back cut, and its rest is the next line.
int RecvLine(Socket socket, std::string& line, std::size_t limit);

// The system's text for a socket error number; empty for 0 and for a number that it does not know.
std::string SocketErrorText(int error);

}  // namespace velnor
