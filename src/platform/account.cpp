#include "platform/account.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

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

bool GiveEntry(int parent, const char* name, const Account& account);

bool GiveBelow(int directory, const Account& account) {
  // The walk gets a descriptor of its own, and closes it.
  const int walked = ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
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
    if (name != "." && name != ".." && !GiveEntry(directory, found->d_name, account)) all = false;
  }
  all = all && errno == 0;
  ::closedir(walk);
  return all;
}

// A directory is the administrator's while what it holds is given, so that nobody exchanges anything there.
bool GiveDirectoryWithAll(int parent, const char* name, const Account& account) {
  const Descriptor directory(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (directory.Number() < 0 || ::fchown(directory.Number(), ::geteuid(), ::getegid()) != 0) return false;
  const bool all = GiveBelow(directory.Number(), account);
  return ::fchown(directory.Number(), account.User, account.Group) == 0 && all;
}

bool GiveEntry(int parent, const char* name, const Account& account) {
  struct stat found {};
  if (::fstatat(parent, name, &found, AT_SYMLINK_NOFOLLOW) != 0) return false;
  if (found.st_uid == account.User) return true;
  if (S_ISDIR(found.st_mode)) return GiveDirectoryWithAll(parent, name, account);
  if (S_ISREG(found.st_mode) && found.st_nlink != 1) return false;
  return ::fchownat(parent, name, account.User, account.Group, AT_SYMLINK_NOFOLLOW) == 0;
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

bool GiveTree(const std::string& path, const Account& account) {
  return GiveEntry(AT_FDCWD, path.c_str(), account);
}

bool GiveDirectory(const std::string& path, const Account& account) {
  const Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  return directory.Number() >= 0 && ::fchown(directory.Number(), account.User, account.Group) == 0;
}

bool WorkAsOwnerOf(const std::string& directory) {
  if (!IsAdministrator()) return true;
  struct stat found {};
  if (::stat(directory.c_str(), &found) != 0) return false;
  if (found.st_uid == ::geteuid()) return true;
  const std::optional<gid_t> group = TakeGroupsOf({found.st_uid, found.st_gid});
  if (!group) return false;
  // The group goes first: changing it is a right that goes away with the user.
  ::setfsgid(*group);
  ::setfsuid(found.st_uid);
  return static_cast<uid_t>(::setfsuid(NO_CHANGE)) == found.st_uid;
}

OwnFileRights::OwnFileRights()
    : user_(static_cast<uid_t>(::setfsuid(::geteuid()))),
      group_(static_cast<gid_t>(::setfsgid(::getegid()))) {}

OwnFileRights::~OwnFileRights() {
  ::setfsgid(group_);
  ::setfsuid(user_);
}

}  // namespace platform
