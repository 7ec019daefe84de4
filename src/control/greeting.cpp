#include "control/greeting.h"

#include <array>
#include <chrono>

#include "core/text.h"
#include "platform/socket.h"

namespace velnor {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds PATIENCE(5000);
constexpr std::size_t LONGEST_GREETING = 512;

int MillisecondsTo(Clock::time_point end) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

std::string ReadLine(platform::Socket socket, Clock::time_point end) {
  std::string line;
  std::array<char, LONGEST_GREETING> room{};
  while (line.find('\n') == std::string::npos) {
    if (line.size() > LONGEST_GREETING || platform::WaitReadable(socket, MillisecondsTo(end)) != 1) return {};
    const int count = platform::ReceiveBytes(socket, room);
    if (count <= 0) return {};
    line.append(room.data(), static_cast<std::size_t>(count));
  }
  return std::string(TrimRightBlanks(line.substr(0, line.find('\n'))));
}

}  // namespace

std::string ReadGreeting(int port) {
  const platform::Socket socket = platform::OpenStreamSocket();
  const Clock::time_point end = Clock::now() + PATIENCE;
  std::string greeting;
  if (platform::ConnectSocket(socket, "127.0.0.1", port, MillisecondsTo(end)) == 0) {
    greeting = ReadLine(socket, end);
    if (!greeting.empty()) platform::SendBytes(socket, "QUIT\r\n");
  }
  platform::CloseSocket(socket);
  return greeting;
}

}  // namespace velnor
