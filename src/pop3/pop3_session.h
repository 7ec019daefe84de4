// The POP3 session: a line-driven machine for USER, PASS, STAT, LIST, UIDL, RETR, TOP, DELE, RSET, NOOP and
// QUIT.
//
// Each connection has a thread of its own that runs Pop3SessionThread and works on a maildrop taken at
// log-on. Only QUIT deletes; a session that ends in any other way leaves every message where it is.
#pragma once

#include <string>
#include <string_view>

#include "core/session_service.h"

namespace velnor {

enum Pop3State {
  POP3_START = 0,        // greeting sent, nobody named; USER is open
  POP3_USER_OK = 1,      // a user has been named; PASS is open
  POP3_TRANSACTION = 3,  // logged on
};

enum class Pop3ReplyKind {
  POSITIVE = 0,  // "+OK %s"
  NEGATIVE = 1,  // "-ERR %s"
  BARE = 2,      // a row of a listing
};

// The body of a session's thread: from the greeting to the freeing of the slot.
void Pop3SessionThread(SessionSlot& slot);

// Sends one line and logs it. The sixth negative reply of a connection is replaced by a last line, and the
// socket is closed. Nothing happens for a slot without connection. The session notices a closed socket at its
// next read.
[[gnu::format(printf, 3, 4)]] void Pop3Reply(int slot_index, Pop3ReplyKind kind, const char* format, ...);

// 1, with the Inbox in `inbox`, if the account exists, may use POP3 and has this password.
int Pop3Authenticate(std::string_view user, std::string_view password, std::string_view domain,
                     std::string& inbox);

}  // namespace velnor
