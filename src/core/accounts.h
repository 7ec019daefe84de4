// User accounts as an administrator handles them: the list of a domain's accounts, one account's profile,
// adding and deleting.
//
// An account is a directory below its domain's with a profile, config.ini, in it; there is no table in
// memory. A service reads the profile whenever it needs it, so a saved change counts from its next read.
// Nothing here asks, logs or looks at open sessions. Two administrators at once are not kept apart: the last
// writer wins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/text.h"

namespace velnor {

inline constexpr std::size_t ACCOUNT_NAME_LIMIT = 30;  // bytes
inline constexpr std::size_t DOMAIN_NAME_LIMIT = 30;   // bytes

// What a log-on takes of what a profile and the list of domains can hold; SMTP counts a password in the
// groups of its encoding.
inline constexpr std::size_t LOGON_PASSWORD_LIMIT = 18;  // bytes
inline constexpr std::size_t LOGON_DOMAIN_LIMIT = SessionDomain::CAPACITY;

// The settings of one account. As it is made, all texts are empty and all numbers 0; NewProfile gives the
// values that a new account begins with.
struct UserProfile {
  std::string Username;  // the display name; no service reads it
  std::string Password;
  std::int32_t Pop3Enable = 0;
  std::int32_t SmtpEnable = 0;
  std::int32_t WebEnable = 0;      // kept only
  std::int32_t MaxMailNum = 0;     // messages
  std::int32_t MailBoxSize = 0;    // megabytes
  std::int32_t MailFolderNum = 0;  // kept only
  std::int32_t NetDiskSize = 0;    // megabytes; kept only
  std::string ResponseSubject;
  std::string ForwardAddr;
  std::int32_t ForwardEnable = 0;
  std::int32_t ResponseEnable = 0;
  std::int32_t ForwardSaveLocal = 0;  // with a forward: 0 keeps a copy in the mailbox too, not 0 does not
};

// A flag is 0 or 1.
enum class ProfileKind { TEXT, FLAG, NUMBER };

// One key of the profile. The table drives loading, saving, the editor and the command line tool.
struct ProfileField {
  const char* Key;
  const char* Caption;  // the editor's
  ProfileKind Kind;

  // One of the two is set.
  std::string UserProfile::*Text = nullptr;
  std::int32_t UserProfile::*Number = nullptr;

  std::size_t FieldLimit = 0;  // bytes of text that an editor accepts
  std::size_t LoadLimit =
      0;                 // bytes read; above the field's limit, so what was cut is never accepted for saving
  std::int32_t Max = 0;  // an editor accepts 0 to Max; loading checks nothing
  std::int32_t NewValue = 0;
  std::int32_t MissingValue = 0;  // what an absent key reads as; an absent text is empty
};

// In the order of saving.
std::span<const ProfileField> ProfileFields();

// The row of a key, matched without regard to ASCII case, or none.
const ProfileField* FindProfileField(std::string_view key);

// A field's value as it stands in the file.
std::string ProfileValue(const UserProfile& profile, const ProfileField& field);

// The profile that a new account begins with.
UserProfile NewProfile();

// Whether an administrator may give this name to a new account or domain: of at most so many bytes as stated
// above, a name of the mail store, and without blanks and "@", which no address could hold, and the wildcards
// of a path. A domain's is also without "|", which parts the stored list of domains, and not "send" in any
// case, which is the spool's directory.
bool IsNewAccountName(std::string_view name);
bool IsNewDomainName(std::string_view name);

// One row of the list of accounts.
struct AccountRow {
  std::string Account;  // the directory's name, at most 99 bytes
  std::string Name;     // the display name, at most 98 bytes; "UNKNOWN" where the profile has none
};

// The accounts of a domain, in the order of the file system. Directories without a profile are passed over.
std::vector<AccountRow> ListAccounts(std::string_view domain);

// The path of an account's config.ini, there or not; none if a name can be no directory's.
std::optional<std::string> ProfilePath(std::string_view domain, std::string_view account);

// An account's profile; what is absent has its missing value.
UserProfile LoadProfile(std::string_view domain, std::string_view account);

// Writes all keys of the profile at once; other keys of the file stay. 1, or 0 if the file could not be
// written.
int SaveProfile(const std::string& config_path, const UserProfile& profile);

// Makes the account's directories and its profile where they are missing, and writes the profile. An account
// that exists keeps its mail and gets the new profile. 1, or 0 if the name can be no directory's or the
// profile could not be written.
int CreateAccount(std::string_view domain, std::string_view account, const UserProfile& profile);

// Deletes an account with all its mail. 1 if its directory is gone; at 0 a part of it may be gone already.
int DeleteAccount(std::string_view domain, std::string_view account);

}  // namespace velnor
