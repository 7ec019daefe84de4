// What `VelnorService /Service` and `VelnorService /UnregServer` do: entering the server with systemd as the
// unit "VelnorService", for the whole machine or for one user, and taking it out again. Main thread.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/service_manager.h"

namespace velnor {

struct ServiceOrder {
  bool Enter = true;  // false: take out
  platform::ManagerScope Scope = platform::ManagerScope::SYSTEM;
  std::string Directory;      // where the configuration is; empty: the working directory
  std::string Account;        // whose rights the server has; empty: "velnor", made if it is missing
  std::string UnitDirectory;  // only the unit's file, made or deleted here; empty: the real thing
};

inline constexpr const char* SERVICE_USAGE =
    "usage: VelnorService\n"
    "       VelnorService /Service [--system | --user] [--directory DIRECTORY] [--account NAME]\n"
    "                              [--unit-directory DIRECTORY]\n"
    "       VelnorService /UnregServer [--system | --user] [--unit-directory DIRECTORY]\n"
    "\n"
    "Runs the mail server with the configuration of the working directory, or enters it with systemd as the\n"
    "unit VelnorService, or takes that out.\n"
    "\n"
    "  --system, --user            the machine's manager (as root) or the user's (for all others)\n"
    "  --directory DIRECTORY       where the configuration is; the working directory if left out\n"
    "  --account NAME              whose rights the server has; velnor, made if need be, if left out\n"
    "  --unit-directory DIRECTORY  make or delete the unit's file there and do nothing else\n";

// The order that the arguments give, the first of which is the switch. None if they make no sense.
std::optional<ServiceOrder> ReadServiceOrder(std::span<const std::string_view> arguments);

// Carries an order out. The exit status: 0, or 1 with the reason on standard error. Entering needs a manager
// that answers, and replaces the paths of a unit that is there; nothing is started. Taking out stops the
// server, and masks a unit that is left because a package has brought it.
int CarryOut(const ServiceOrder& order);

}  // namespace velnor
