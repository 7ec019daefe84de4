// The decision at each RCPT TO: whether the server takes a message for an address. Also the two lists of
// senders that a user may keep beside the profile, allow.ini and reject.ini. Writes nothing and takes no
// lock; session threads.
#pragma once

#include <string>
#include <string_view>

namespace velnor {

enum RecipientVerdict {
  RCPT_OK = 0,           // take the recipient
  RCPT_REJECTED = 1,     // the user's reject.ini refuses this sender
  RCPT_NOT_LOCAL = 2,    // foreign domain and no authentication
  RCPT_NO_USER = 3,      // local domain, no such user
  RCPT_OVER_QUOTA = 4,   // the mailbox is full
  RCPT_BAD_ADDRESS = 5,  // the address has no two halves, or the disk did not let it be looked up
};

// The verdict on an address without angle brackets. An authenticated session (`relay_allowed`) may name
// anybody; what can't be delivered then comes back as a notice.
RecipientVerdict CheckRecipient(std::string_view address, std::string_view sender, bool relay_allowed);

// The same for a user of a local domain: existence, then sender lists, then the quota, measured from the
// disk.
RecipientVerdict CheckLocalRecipient(std::string_view user, std::string_view domain, std::string_view sender);

// 1 if an entry of the list file matches the sender: one with an at sign as a whole and without regard to
// case, one without as a piece of the sender, and an empty one always. A file that can't be opened matches
// nothing.
int SenderListMatches(const std::string& list_path, std::string_view sender);

}  // namespace velnor
