// From an address on the command line to an account of the mail store. No state; the thread of the command.
#pragma once

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

// Whether this account can list a domain's accounts; without a directory it has none. If not, the words have
// been shown.
bool CanListAccounts(Control& control, const std::string& domain);

}  // namespace velnor
