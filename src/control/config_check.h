// The check of a configuration: all files read as the server reads them, and each fault named. It changes
// nothing. The thread of the command.
#pragma once

#include <string>
#include <vector>

namespace velnor {

struct ConfigFault {
  std::string Place;  // a file, a directory or an address
  std::string Text;
};

// What the load of the list of domains has passed over, and a save therefore takes out, measured against the
// domains that g_SystemConfig has loaded.
std::vector<ConfigFault> DroppedDomains();

// Whether the list of domains is longer than what is read of it, so that a load may end within a name.
bool IsDomainListCut();

// Looks through the configuration that g_SystemConfig has open: settings, domains, accounts, mail lists and
// rules, and who may read and change their files, the log and the mail.
std::vector<ConfigFault> CheckConfiguration();

}  // namespace velnor
