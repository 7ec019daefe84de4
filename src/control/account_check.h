// The check of all accounts of the local domains. The thread of the command.
#pragma once

#include <vector>

#include "control/config_check.h"

namespace velnor {

// Adds a fault for each profile that can't be read, each value out of its range, each account that may log on
// without a password, has no Inbox, or can't be the server's own, and each unsafe mode on the way there.
void CheckAccounts(std::vector<ConfigFault>& faults);

}  // namespace velnor
