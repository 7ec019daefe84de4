#include "control/local_address.h"

#include <cerrno>

#include "console/logic/row_search.h"
#include "core/accounts.h"
#include "core/mail_store.h"
#include "core/system_config.h"
#include "platform/file.h"
#include "platform/file_rights.h"

namespace velnor {

std::optional<EditRequest> LocalAddress(Control& control, const std::string& address) {
  const auto domains = g_SystemConfig.LocalDomains.Get();
  if (domains->empty()) {
    control.Refuse("No domain, please check!");
    return std::nullopt;
  }
  const std::size_t at = address.find('@');
  if (at == std::string::npos) {
    control.Refuse(address + " is no address: it has no \"@\".");
    return std::nullopt;
  }
  const std::optional<std::size_t> row = FindRow(*domains, address.substr(at + 1));
  if (!row) {
    control.Refuse(address.substr(at + 1) + " is no local domain.");
    return std::nullopt;
  }
  return EditRequest{(*domains)[*row], address.substr(0, at)};
}

std::optional<EditRequest> ExistingAccount(Control& control, const std::string& address) {
  std::optional<EditRequest> place = LocalAddress(control, address);
  if (!place) return std::nullopt;
  const std::optional<std::string> directory = UserDirectory(place->Domain, place->Account);
  const std::optional<std::string> profile = ProfilePath(place->Domain, place->Account);
  if (!directory || !profile || platform::ProbePath(*profile) == platform::PathKind::MISSING) {
    control.Refuse("No the record: " + address);
    return std::nullopt;
  }
  if (const int error = platform::CheckReadable(*profile, platform::PathKind::FILE); error != 0) {
    control.Refuse(*profile + ": " + platform::ErrorText(error));
    return std::nullopt;
  }
  place->Account = directory->substr(directory->rfind('/') + 1);
  return place;
}

bool CanListAccounts(Control& control, const std::string& domain) {
  const std::string directory = StorePath(g_SystemConfig.MailPath.Get(), domain);
  const int error = platform::CheckReadable(directory, platform::PathKind::DIRECTORY);
  return error == 0 || error == ENOENT ||
         control.Refuse(directory + ": " + platform::ErrorText(error)) == DONE;
}

}  // namespace velnor
