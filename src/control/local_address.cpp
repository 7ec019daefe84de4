#include "control/local_address.h"

#include <cerrno>

#include "console/logic/row_search.h"
#include "core/accounts.h"
#include "core/mail_store.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "platform/directory_walk.h"
#include "platform/file.h"
#include "platform/file_rights.h"

namespace velnor {
namespace {

constexpr const char* UNREADABLE = " can't be read by this account.";

}  // namespace

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
  platform::DirectoryWalk walk;
  const int error = walk.Open(directory);
  if (error == ENOENT) return true;
  if (error != 0) return control.Refuse(directory + ": " + platform::ErrorText(error)) == DONE;
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    const std::string account = JoinPath(directory, entry.name);
    if (entry.isDirectory &&
        platform::ProbePath(JoinPath(account, PROFILE_FILE)) == platform::PathKind::UNKNOWN) {
      return control.Refuse(account + UNREADABLE) == DONE;
    }
  }
  return !walk.Failed() || control.Refuse(directory + UNREADABLE) == DONE;
}

std::optional<MailboxFigures> MeasureAccount(Control& control, const EditRequest& place) {
  std::int32_t messages = 0;
  std::int64_t bytes = 0;
  std::string unread;
  MeasureMailbox(UserDirectory(place.Domain, place.Account).value_or(""), messages, bytes, &unread);
  if (unread.empty()) return MailboxFigures{messages, bytes};
  control.Refuse(unread + UNREADABLE);
  return std::nullopt;
}

}  // namespace velnor
