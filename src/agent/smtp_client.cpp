#include "agent/smtp_client.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/dot_guard.h"
#include "platform/thread.h"

namespace velnor {
namespace {

constexpr int CONNECT_LIMIT_MS = 30'000;
constexpr int REPLY_LIMIT_MS = 10'000;
constexpr std::size_t REPLY_SIZE = 1024;
constexpr std::size_t READ_LIMIT = 1023;
constexpr int SENDS_TO_PAUSE = 51;
constexpr int PAUSE_MS = 10;
constexpr std::string_view END_MARKER = "\r\n.\r\n";

bool IsControl(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

// One command, its argument between two fixed texts, and the reply to it.
int SendCommand(Socket socket, const char* before, std::string_view argument, const char* after,
                ReplyText& reply) {
  if (std::any_of(argument.begin(), argument.end(), IsControl)) return SMTP_NOT_SENT;
  const int length = static_cast<int>(argument.size());
  if (SendFormat(socket, "%s%.*s%s\r\n", before, length, argument.data(), after) <= 0) return SMTP_NOT_SENT;
  return ReadSmtpReply(socket, reply);
}

bool SendPiece(Socket socket, std::string_view piece) {
  return piece.empty() || SendString(socket, piece, platform::SendHint::MORE) > 0;
}

// True if the whole text, and any at all, was sent, and only the end marker is missing.
bool SendText(Socket socket, platform::TextReader& message) {
  DotGuard guard;
  std::string line;
  bool any = false;
  for (int sends = 0; message.ReadLine(READ_LIMIT, line); any = true) {
    if (!SendPiece(socket, guard.Pass(line))) return false;
    if (++sends == SENDS_TO_PAUSE) {
      platform::SleepMilliseconds(PAUSE_MS);
      sends = 0;
    }
  }
  return any && !message.Failed() && SendPiece(socket, guard.Finish());
}

}  // namespace

Socket ConnectSmtp(std::string_view address, ReplyText& reply, int port) {
  const Socket socket = platform::OpenStreamSocket();
  if (socket == platform::SOCKET_INVALID) return socket;
  if (platform::ConnectSocket(socket, address, port, CONNECT_LIMIT_MS) != 0 ||
      ReadSmtpReply(socket, reply) != 220) {
    platform::CloseSocket(socket);
    return platform::SOCKET_INVALID;
  }
  reply.Clear();
  return socket;
}

int ReadSmtpReply(Socket socket, ReplyText& reply) {
  if (platform::WaitReadable(socket, REPLY_LIMIT_MS) <= 0) return SMTP_NO_REPLY;
  std::array<char, REPLY_SIZE> room;
  const int count = RecvBytes(socket, room);
  if (count <= 0) {
    reply.Set("network disconnected");
    return SMTP_NO_REPLY;
  }
  const std::string_view received(room.data(), static_cast<std::size_t>(count));
  const std::string_view text = TrimBlanks(received.substr(0, received.find('\0')));
  reply.Set(text);
  // A peer that answers with a negative number must not pass for one of the results that are no reply.
  return std::max(LeadingNumber(text), 0);
}

int SendHelo(Socket socket, std::string_view name, ReplyText& reply) {
  return SendCommand(socket, "HELO ", name, "", reply);
}

int SendMailFrom(Socket socket, std::string_view sender, ReplyText& reply) {
  return SendCommand(socket, "MAIL FROM: <", sender, ">", reply);
}

int SendRcptTo(Socket socket, std::string_view address, ReplyText& reply) {
  return SendCommand(socket, "RCPT TO: <", address, ">", reply);
}

int SendMessageData(Socket socket, platform::TextReader& message, ReplyText& reply) {
  if (SendFormat(socket, "DATA\r\n") <= 0 || ReadSmtpReply(socket, reply) != 354) return SMTP_DATA_REFUSED;
  const platform::TextReader::Position start = message.Tell();
  const bool sent = SendText(socket, message);
  message.Seek(start);
  if (!sent) {
    reply.Set("Data error");
    return message.Failed() ? SMTP_MESSAGE_UNREADABLE : SMTP_NOT_SENT;
  }
  // Without a hint of more, the marker takes everything that was held back along with it.
  SendString(socket, END_MARKER);
  return ReadSmtpReply(socket, reply);
}

void SendQuit(Socket socket) {
  SendFormat(socket, "QUIT\r\n");
}

}  // namespace velnor
