// The text of the server's systemd unit. There is one such text, packaging/VelnorService.service, which the
// program carries; what is made here is that text with other values for what differs from server to server.
// No state; any thread.
#pragma once

#include <string>

#include "platform/service_manager.h"

namespace velnor {

struct UnitSettings {
  platform::ManagerScope Scope = platform::ManagerScope::SYSTEM;
  std::string Program;    // full path
  std::string Directory;  // full path of the working directory, where the configuration is
  std::string MailRoot;   // full path
  std::string Account;    // whose rights the server has; a user's manager knows only its own
};

// Whether a path can stand in a unit: it is a full path without control characters, quotes and backslashes,
// and without a blank at its end.
bool FitsUnit(const std::string& path);

// The unit. The paths fit it.
std::string UnitText(const UnitSettings& settings);

}  // namespace velnor
