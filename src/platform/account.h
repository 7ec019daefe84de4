// Accounts of the operating system: finding and making one, giving files to one, and touching files with its
// rights. Any thread, but where a declaration says otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

struct Account {
  std::uint32_t User = 0;   // the user's number
  std::uint32_t Group = 0;  // that of the user's own group
};

std::optional<Account> FindAccount(const std::string& name);

// Makes an account for a service: no password, no shell, no home. False if it could not be made.
bool CreateServiceAccount(const std::string& name, const std::string& description);

// The account with whose rights this process runs.
Account OwnAccount();

// Whether this process may give files away and enter services for the whole machine.
bool IsAdministrator();

// Whose a file or directory is; a link itself, not what it points to. None if it can't be looked at.
std::optional<Account> OwnerOf(const std::string& path);

// Gives a file, or a directory with all it holds, to an account, for an administrator. A link itself is
// given, not what it points to, and a file that has a second name is not given, since that name may be
// anywhere. What belongs to the account already is left alone with all that is below it: its owner could
// exchange things there while this walks. With an owner, nothing is given that is neither his nor the
// account's: where somebody else may write, a path can lead anywhere. False if anything was not given.
bool GiveTree(const std::string& path, const Account& account, const std::optional<Account>& owner);

// The same for a directory alone.
bool GiveDirectory(const std::string& path, const Account& account, const std::optional<Account>& owner);

// Whether an account may pass all directories above a path, which need not exist. For an administrator, and
// for the process's only thread.
bool CanReach(const Account& account, const std::string& path);

// Has an administrator's process, from now on, touch files with no more rights than the owner of a directory
// has, so that nothing its owner has put there leads it elsewhere. What it makes is that owner's. Every other
// account goes on as before. For the process's only thread. False if the rights could not be taken, or
// if the directory is the administrator's own and others may write in it.
bool WorkAsOwnerOf(const std::string& directory);

// While it lives, the thread touches files with the rights that it had before WorkAsOwnerOf.
class OwnFileRights {
 public:
  OwnFileRights();
  ~OwnFileRights();
  OwnFileRights(const OwnFileRights&) = delete;
  OwnFileRights& operator=(const OwnFileRights&) = delete;

 private:
  std::uint32_t user_;
  std::uint32_t group_;
};

}  // namespace platform
