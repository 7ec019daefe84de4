#include "platform/account.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include "platform/child_process.h"

namespace platform {
namespace {

constexpr int CREATE_MS = 10'000;
constexpr std::size_t ENTRY_ROOM = 16'384;
constexpr auto NO_CHANGE = static_cast<uid_t>(-1);  // only asks for the rights

// A descriptor that is closed with its scope.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Number() const { return number_; }

 private:
  int number_;
};

// To whom things go, and from whom they are taken; from anybody where that is none.
struct Transfer {
  Account To;
  std::optional<Account> From;
};

// What stands under a name, a link itself, and what is known of it. Whatever is exchanged under the name
// after that, this stays the same thing.
struct Entry {
  Entry(int parent, const char* name)
      : Handle(::openat(parent, name, O_PATH | O_NOFOLLOW | O_CLOEXEC)),
        IsThere(Handle.Number() >= 0 && ::fstat(Handle.Number(), &Found) == 0) {}

  bool Comes(const Transfer& transfer) const {
    return !transfer.From || Found.st_uid == transfer.From->User || Found.st_uid == transfer.To.User;
  }
  bool Give(const Account& account) const {
    return ::fchownat(Handle.Number(), "", account.User, account.Group, AT_EMPTY_PATH) == 0;
  }

  Descriptor Handle;
  struct stat Found {};
  bool IsThere;
};

bool GiveEntry(const Entry& entry, const Transfer& transfer);

bool GiveBelow(const Entry& directory, const Transfer& transfer) {
  const int walked = ::openat(directory.Handle.Number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* const walk = walked < 0 ? nullptr : ::fdopendir(walked);
  if (walk == nullptr) {
    if (walked >= 0) ::close(walked);
    return false;
  }
  bool all = true;
  for (;;) {
    errno = 0;
    const dirent* const found = ::readdir(walk);
    if (found == nullptr) break;
    const std::string_view name = found->d_name;
    if (name == "." || name == "..") continue;
    if (!GiveEntry(Entry(walked, found->d_name), transfer)) all = false;
  }
  all = all && errno == 0;
  ::closedir(walk);
  return all;
}

bool GiveEntry(const Entry& entry, const Transfer& transfer) {
  if (!entry.IsThere || !entry.Comes(transfer)) return false;
  if (entry.Found.st_uid == transfer.To.User) return true;
  if (S_ISREG(entry.Found.st_mode) && entry.Found.st_nlink != 1) return false;
  if (!S_ISDIR(entry.Found.st_mode)) return entry.Give(transfer.To);
  // A directory is the administrator's while what it holds is given, so that nobody exchanges anything there.
  if (!entry.Give(OwnAccount())) return false;
  const bool all = GiveBelow(entry, transfer);
  return entry.Give(transfer.To) && all;
}

// Takes over the groups to which an account belongs, and gives the number of its own.
std::optional<gid_t> TakeGroupsOf(const Account& account) {
  std::vector<char> room(ENTRY_ROOM);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(account.User, &entry, room.data(), room.size(), &found) == 0 && found != nullptr) {
    if (::initgroups(entry.pw_name, entry.pw_gid) != 0) return std::nullopt;
    return entry.pw_gid;
  }
  if (::setgroups(1, &account.Group) != 0) return std::nullopt;
  return account.Group;
}

// Takes over an account's rights to files.
bool TakeRightsOf(const Account& account) {
  const std::optional<gid_t> group = TakeGroupsOf(account);
  if (!group) return false;
  // The group goes first: changing it is a right that goes away with the user.
  ::setfsgid(*group);
  ::setfsuid(account.User);
  return static_cast<uid_t>(::setfsuid(NO_CHANGE)) == account.User;
}

}  // namespace

std::optional<Account> FindAccount(const std::string& name) {
  std::vector<char> room(ENTRY_ROOM);
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

Account OwnAccount() {
  return {::geteuid(), ::getegid()};
}

bool IsAdministrator() {
  return ::geteuid() == 0;
}

std::optional<Account> OwnerOf(const std::string& path) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return std::nullopt;
  return Account{found.st_uid, found.st_gid};
}

bool GiveTree(const std::string& path, const Account& account, const std::optional<Account>& owner) {
  return GiveEntry(Entry(AT_FDCWD, path.c_str()), {account, owner});
}

bool GiveDirectory(const std::string& path, const Account& account, const std::optional<Account>& owner) {
  const Entry entry(AT_FDCWD, path.c_str());
  return entry.IsThere && S_ISDIR(entry.Found.st_mode) && entry.Comes({account, owner}) &&
         entry.Give(account);
}

bool CanReach(const Account& account, const std::string& path) {
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(::getgroups(0, nullptr), 0)));
  if (::getgroups(static_cast<int>(groups.size()), groups.data()) < 0) return false;
  bool reached = false;
  if (TakeRightsOf(account)) {
    const Descriptor found(::open(path.c_str(), O_PATH | O_CLOEXEC));
    reached = found.Number() >= 0 || errno != EACCES;
  }
  ::setfsuid(::geteuid());
  ::setfsgid(::getegid());
  return ::setgroups(groups.size(), groups.data()) == 0 && reached;
}

bool WorkAsOwnerOf(const std::string& directory) {
  if (!IsAdministrator()) return true;
  struct stat found {};
  if (::stat(directory.c_str(), &found) != 0) return false;
  if (found.st_uid == ::geteuid()) {
    const bool group_writes = (found.st_mode & S_IWGRP) != 0 && found.st_gid != ::getegid();
    return !group_writes && (found.st_mode & S_IWOTH) == 0;
  }
  return TakeRightsOf({found.st_uid, found.st_gid});
}

OwnFileRights::OwnFileRights()
    : user_(static_cast<uid_t>(::setfsuid(::geteuid()))),
      group_(static_cast<gid_t>(::setfsgid(::getegid()))) {}

OwnFileRights::~OwnFileRights() {
  ::setfsgid(group_);
  ::setfsuid(user_);
}

}  // namespace platform
