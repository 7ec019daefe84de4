// Local delivery: one message to one local user. Forward first, then the Inbox, then the auto-response, and
// last the copies for the members if the address is a mail list. The user's profile is read anew each time.
// Delivery workers.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/text_stream.h"

namespace velnor {

// Delivers the open spool file, which stands at the first byte of the message text and does so again
// afterwards. 1 when the message is dealt with, 0 when there is no such mailbox; DELIVERY_FAULT when the disk
// or the process did not let the message be stored, or one of a list's copies be made.
int LocalDeliver(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view user,
                 std::string_view domain, std::string_view sender);

// Queues a copy for each member if the address is a mail list and the sender one of those who may post. 1,
// also when there is nothing to do, or DELIVERY_FAULT.
int FanOutMailList(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view user,
                   std::string_view domain, std::string_view sender);

}  // namespace velnor
