// From an address on the command line to an account of the mail store, and to what lies in its mailbox. No
// state; the thread of the command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "console/logic/user_list_logic.h"
#include "control/control.h"

namespace velnor {

// The domain, as the configuration spells it, and the account of an address. None, with the words shown, if
// it is no address or its domain is not local.
std::optional<EditRequest> LocalAddress(Control& control, const std::string& address);

// The same for an account that exists, as its directory spells it. None also if there is no such account, or
// if its profile can't be read.
std::optional<EditRequest> ExistingAccount(Control& control, const std::string& address);

// Whether this account can list all accounts of a domain; without a directory it has none. If not, the words
// have been shown.
bool CanListAccounts(Control& control, const std::string& domain);

struct MailboxFigures {
  std::int64_t Messages = 0;
  std::int64_t Bytes = 0;
};

// What lies in an account's mailbox, as the quota counts it. None, with the words shown, if a directory of it
// can't be read.
std::optional<MailboxFigures> MeasureAccount(Control& control, const EditRequest& place);

}  // namespace velnor
