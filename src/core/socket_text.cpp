#include "core/socket_text.h"

#include <algorithm>
#include <cstdarg>

#include "platform/fixed_text.h"

namespace velnor {
namespace {

constexpr int SILENCE_MS = 60'000;

}  // namespace

int SendFormat(Socket socket, const char* format, ...) {
  platform::FixedText<1023> text;
  std::va_list arguments;
  va_start(arguments, format);
  text.FormatList(format, arguments);
  va_end(arguments);
  return SendString(socket, text);
}

int SendString(Socket socket, std::string_view text, platform::SendHint hint) {
  return platform::SendBytes(socket, text, hint);
}

int RecvBytes(Socket socket, std::span<char> room) {
  return platform::ReceiveBytes(socket, room);
}

int RecvLine(Socket socket, std::string& line, std::size_t limit) {
  line.clear();
  int status = 0;
  bool ended = false;
  while (!ended && line.size() < limit) {
    if (platform::WaitReadable(socket, SILENCE_MS) <= 0) {
      status = RECV_LINE_TIMEOUT;
      break;
    }
    // What has arrived is looked at before it is taken, so that nothing behind the LF is touched.
    char room[256];
    const std::span<char> wanted(room, std::min(sizeof room, limit - line.size()));
    const int seen = platform::PeekBytes(socket, wanted);
    if (seen <= 0) {
      status = RECV_LINE_CLOSED;
      break;
    }
    const auto* const end = room + seen;
    const auto* const line_end = std::find(room, room + seen, '\n');
    ended = line_end != end;
    const auto taken = static_cast<std::size_t>(line_end - room) + (ended ? 1 : 0);
    if (platform::ReceiveBytes(socket, std::span<char>(room, taken)) != static_cast<int>(taken)) {
      status = RECV_LINE_CLOSED;
      break;
    }
    line.append(room, static_cast<std::size_t>(line_end - room));
  }
  const int result = status == 0 ? static_cast<int>(line.size()) : status;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return result;
}

std::string SocketErrorText(int error) {
  return platform::SocketErrorMessage(error);
}

}  // namespace velnor
