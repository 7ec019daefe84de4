#include "apps/service_files.h"

#include <algorithm>
#include <vector>

#include "core/mail_store.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "platform/directory_walk.h"
#include "platform/file.h"

namespace velnor {
namespace {

using Paths = std::vector<std::string>;

bool IsThere(const std::string& path) {
  return platform::IsLink(path) || platform::ProbePath(path) != platform::PathKind::MISSING;
}

// What the server makes, reads and writes.
Paths ServerFiles(const std::string& mail_root) {
  Paths files = {g_SystemConfig.IniPath.Get(), g_SystemConfig.MailListPath.Get(),
                 g_SystemConfig.LogPath.Get(), g_SystemConfig.RulesPath(), JoinPath(mail_root, "send")};
  for (const std::string& domain : *g_SystemConfig.LocalDomains.Get()) {
    files.push_back(StorePath(mail_root, domain));
  }
  return files;
}

// Whether a directory is the server's alone.
bool HoldsOnly(const std::string& directory, const Paths& own) {
  platform::DirectoryWalk walk;
  if (walk.Open(directory) != 0) return false;
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    if (entry.name == "." || entry.name == "..") continue;
    if (std::find(own.begin(), own.end(), JoinPath(directory, entry.name)) == own.end()) return false;
  }
  return !walk.Failed();
}

// The rules lie beside the programs. Where those are the administrator's, the rules may be his own as well,
// and the server only reads them.
bool IsAdministratorsRules(const std::string& path) {
  const auto owner = platform::OwnerOf(path);
  return path == g_SystemConfig.RulesPath() && owner && owner->User == platform::OwnAccount().User;
}

// The first path whose owner is neither of the two; empty if there is none.
std::string ForeignPath(const Paths& paths, const platform::Account& owner,
                        const platform::Account& account) {
  for (const std::string& path : paths) {
    const auto found = platform::OwnerOf(path);
    if (found && found->User != owner.User && found->User != account.User) return path;
  }
  return {};
}

}  // namespace

std::string GiveServerFiles(const std::string& working_directory, const std::string& mail_root,
                            const platform::Account& account) {
  Paths own = ServerFiles(mail_root);
  own.push_back(mail_root);
  const std::string ini = own.front();
  auto owner = platform::OwnerOf(IsThere(ini) ? ini : working_directory);
  if (!owner) return working_directory + " can't be looked at";
  if (owner->User == platform::OwnAccount().User) owner.reset();
  if (owner) std::erase_if(own, IsAdministratorsRules);
  const std::string foreign = owner ? ForeignPath(own, *owner, account) : "";
  if (!foreign.empty()) return foreign + " belongs to another account than the configuration does";

  Paths alone;
  for (const std::string& directory : {working_directory, mail_root}) {
    if (HoldsOnly(directory, own)) alone.push_back(directory);
  }
  own.pop_back();
  for (const std::string& path : own) {
    if (IsThere(path) && !platform::GiveTree(path, account, owner))
      return "Not all could be given to the account: " + path;
  }
  for (const std::string& directory : alone) {
    if (!platform::GiveDirectory(directory, account, owner))
      return "It could not be given to the account: " + directory;
  }
  return {};
}

}  // namespace velnor
