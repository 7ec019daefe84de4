// The user editor: the fields of one account, what they accept, and OK.
//
// The object holds what the dialog shows: the account, the domain, and each field of the profile under its
// key as text, "1" or "0" for a tick box. The window puts the fields in before OK and shows them when it
// opens. Console thread.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/logic/prompter.h"
#include "console/logic/user_list_logic.h"
#include "core/accounts.h"

namespace velnor {

inline constexpr const char* ACCOUNT_FIELD = "Account";  // the account's place among the keys

class UserEditForm {
 public:
  // Takes the stored profile into the fields, or that of a new account.
  UserEditForm(Prompter& prompter, const EditRequest& request);

  // Whether an account that exists is edited: account and domain are then fixed.
  bool EditMode() const { return edit_mode_; }
  const char* Title() const { return edit_mode_ ? "Edit user information" : "Add New User"; }

  // OK: checks the fields in their order and writes the profile, or makes the account. Whether the dialog
  // ends; if not, the message has been shown and nothing was written. A write that fails is not told.
  bool Accept();

  std::string& Value(std::string_view key) { return values_.find(key)->second; }

  std::vector<std::string> Domains;
  std::optional<std::size_t> ChosenDomain;
  std::string Account;
  const char* FailedKey = "";  // the field that the last OK refused, or empty

 private:
  // Reads the fields; the key of the first that is refused, with the message shown, or nothing.
  std::optional<const char*> Read(UserProfile& profile);

  Prompter& prompter_;
  bool edit_mode_;
  std::string config_path_;
  std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace velnor
