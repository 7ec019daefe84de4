#include "platform/account.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "platform/child_process.h"
#include "platform/directory_walk.h"

namespace platform {
namespace {

constexpr int CREATE_MS = 10'000;

bool Give(const std::string& path, const Account& account) {
  return ::lchown(path.c_str(), account.User, account.Group) == 0;
}

bool GiveBelow(const std::string& path, const Account& account) {
  DirectoryWalk walk;
  if (walk.Open(path) != 0) return false;
  bool all = true;
  WalkEntry entry;
  while (walk.Next(entry)) {
    if (entry.name == "." || entry.name == "..") continue;
    const std::string below = path + "/" + entry.name;
    // A directory is given last: until then nobody else can exchange what lies in it.
    if (entry.isDirectory && !GiveBelow(below, account)) all = false;
    if (!Give(below, account)) all = false;
  }
  return all && !walk.Failed();
}

}  // namespace

std::optional<Account> FindAccount(const std::string& name) {
  std::vector<char> room(16'384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwnam_r(name.c_str(), &entry, room.data(), room.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  return Account{entry.pw_uid, entry.pw_gid};
}

bool CreateServiceAccount(const std::string& name, const std::string& description) {
  return RunProgram({"systemd-sysusers", "--inline", "u " + name + " - \"" + description + "\""}, CREATE_MS,
                    ErrorOutput::SHOWN)
             .Status == 0;
}

bool IsAdministrator() {
  return ::geteuid() == 0;
}

bool GiveTree(const std::string& path, const Account& account) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return false;
  if (found.st_uid == account.User) return true;
  const bool below = !S_ISDIR(found.st_mode) || GiveBelow(path, account);
  return Give(path, account) && below;
}

bool GiveDirectory(const std::string& path, const Account& account) {
  return Give(path, account);
}

}  // namespace platform
