// Accounts of the operating system, and giving files to one. No state; any thread.
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

// Whether this process may give files away and enter services for the whole machine.
bool IsAdministrator();

// Gives a file, or a directory with all it holds, to an account. A link itself is given, not what it points
// to. What belongs to the account already is left alone with all that is below it: its owner could exchange
// things there while this walks. False if anything could not be given.
bool GiveTree(const std::string& path, const Account& account);

// The same for a directory alone.
bool GiveDirectory(const std::string& path, const Account& account);

}  // namespace platform
