// The DATA phase of an SMTP session: from the client's bytes to a waiting file in the spool.
//
// The message is read in small chunks and written straight to its file, so memory per session is constant.
// The agent sees nothing of it before the one rename that publishes it, and the client's 250 is sent after
// that rename is on the disk. Runs on the session's thread.
#pragma once

#include <string_view>

namespace velnor {

// Receives one message for the envelope and sends the final reply itself; that reply is neither counted as an
// error nor logged as a reply. 1 when the message is stored. 0 when it is not: the spool holds nothing of it,
// and the session must end.
int ReceiveMessage(int slot_index, std::string_view sender, std::string_view recipient_list,
                   std::string_view helo_name);

}  // namespace velnor
