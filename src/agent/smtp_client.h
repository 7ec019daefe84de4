// The client side of SMTP, as the small operations of one exchange: connect, HELO, MAIL FROM, RCPT TO, DATA,
// QUIT (RFC 5321, no extensions).
//
// Each operation gives the reply's code and leaves its text with the caller, who alone knows what follows
// from it. A reply is what one read delivers: of several lines that come together the first decides, and a
// line that comes later is taken as the reply to the next command. Runs on the worker thread that owns the
// socket and the message's stream; memory is constant whatever the message's size.
//
// The reply text is overwritten by each reply that is read, and by "network disconnected" when the peer is
// gone. A time-out, or a command that could not be sent, leaves it as it stood, so it may be that of an
// earlier reply.
#pragma once

#include <string_view>

#include "core/socket_text.h"
#include "core/text.h"
#include "platform/text_stream.h"

namespace velnor {

using ReplyText = FixedText<255>;

inline constexpr int REMOTE_SMTP_PORT = 25;

// What stands in the place of a reply's code: no reply within 10 seconds or the peer gone; the command or the
// message text could not be sent; DATA was not answered by 354; the message could not be read, so it is not
// at the peer and was not refused there either.
inline constexpr int SMTP_NO_REPLY = -1;
inline constexpr int SMTP_NOT_SENT = 0;
inline constexpr int SMTP_DATA_REFUSED = -1;
inline constexpr int SMTP_MESSAGE_UNREADABLE = -2;

// Connects to a dotted address, within 30 seconds, and waits for the greeting. The socket, with the reply
// text cleared; SOCKET_INVALID if there is no connection, or no greeting of 220.
Socket ConnectSmtp(std::string_view address, ReplyText& reply, int port = REMOTE_SMTP_PORT);

// Waits up to 10 seconds for a reply. The number at its start, 0 if it starts with none, or SMTP_NO_REPLY.
int ReadSmtpReply(Socket socket, ReplyText& reply);

// Send one command and wait for its reply. The reply's code, SMTP_NO_REPLY or SMTP_NOT_SENT. What holds a
// control character is not sent: it could end the command early and begin another.
int SendHelo(Socket socket, std::string_view name, ReplyText& reply);
int SendMailFrom(Socket socket, std::string_view sender, ReplyText& reply);
int SendRcptTo(Socket socket, std::string_view address, ReplyText& reply);

// Sends the message from the stream's place to its end, behind DATA, and puts the place back. The code of the
// final reply, SMTP_NO_REPLY, SMTP_DATA_REFUSED with the peer's text, or with "Data error" SMTP_NOT_SENT or
// SMTP_MESSAGE_UNREADABLE: the peer then has no end of the message, and keeps nothing of it.
//
// The bytes go out as the stream delivers them; only a dot alone in a line is doubled (core/dot_guard.h), as
// it would end the message there and turn its rest into commands. An empty text counts as one that could not
// be sent.
int SendMessageData(Socket socket, platform::TextReader& message, ReplyText& reply);

// Sends QUIT and reads nothing; the caller closes the socket.
void SendQuit(Socket socket);

}  // namespace velnor
