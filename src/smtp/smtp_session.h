// The SMTP session: a line-driven machine for HELO, EHLO, AUTH LOGIN, MAIL FROM, RCPT TO, DATA, RSET, NOOP
// and QUIT.
//
// Each connection has a thread of its own that runs SmtpSessionThread. All state of the machine lives in that
// thread; with the rest of the system it shares its slot, the configuration, the log and the users' profiles.
#pragma once

#include <string_view>

#include "core/session_service.h"

namespace velnor {

enum SmtpState {
  SMTP_CONNECTED = 0,    // greeting sent, or authentication failed; HELO and EHLO lead on
  SMTP_EHLO_DONE = 1,    // AUTH LOGIN and MAIL FROM are open
  SMTP_AUTH_USER = 2,    // the next line is the user name in Base64, whatever it says
  SMTP_AUTH_PASS = 3,    // the next line is the password in Base64, whatever it says
  SMTP_READY = 4,        // MAIL FROM is open
  SMTP_HAVE_SENDER = 5,  // RCPT TO is open
  SMTP_HAVE_RCPT = 6,    // RCPT TO and DATA are open
};

// The body of a session's thread: from the greeting to the freeing of the slot.
void SmtpSessionThread(SessionSlot& slot);

// Sends one reply line and logs it. Codes other than 220, 221, 235, 250, 334 and 354 count as errors; the
// sixth error of a connection is replaced by a last line, and the socket is closed. Nothing happens for a
// slot without connection. The session notices a closed socket at its next read.
[[gnu::format(printf, 3, 4)]] void SmtpReply(int slot_index, int code, const char* format, ...);

// 1 if the name is accepted: always at an anti-spam level below 1, else if one of its addresses is the
// peer's.
int CheckHeloName(std::string_view name, std::string_view peer_address, int anti_spam_level);

// 1 if the address has an at sign with something on either side of it.
int CheckSenderFormat(std::string_view sender);

// 1 if the account exists, may use SMTP and has this password.
int SmtpAuthenticate(std::string_view user, std::string_view password, std::string_view domain);

}  // namespace velnor
