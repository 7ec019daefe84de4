// Mail that the agent makes itself: failure notices, auto-responses and forward copies.
//
// A notice goes straight into a local sender's Inbox and never through the spool, so no notice is ever made
// about a notice. The other two are new spool files that take the normal road. Each operation gets the open
// spool file standing at the first byte of the message text and leaves it there. None writes a log line.
// Delivery workers.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/text_stream.h"

namespace velnor {

// The disk or the process was at fault, and what was to be stored does not exist: the caller must keep the
// message.
inline constexpr int DELIVERY_FAULT = -1;

// Tells a local sender that a message could not be delivered to `recipients` (one address, or a whole list).
// 1; 0 when no notice is due for lack of a local mailbox; DELIVERY_FAULT when one is due and could not be
// stored. No notice goes to a mail list, and that counts as 1.
int SendBounce(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view recipients,
               std::string_view sender, std::string_view reason);

// Answers a delivered message if the user's profile says so. 1 when the response was queued, 0 when not.
int AutoRespond(std::uint32_t thread_id, std::string_view user, std::string_view domain,
                std::string_view sender);

// Forwards a message if the user's profile says so. 0 when no forward took place, also because it could not
// be stored or because the message has passed 20 forwards; otherwise the profile's ForwardSaveLocal: not 0
// takes the place of the local copy.
int ForwardMail(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view user,
                std::string_view domain);

}  // namespace velnor
