// The mail store: one directory tree under the mail root that holds all accounts and all mail.
//
//   mail root / send                                    the spool
//   mail root / domain / account / config.ini           the profile; it makes the account
//   mail root / domain / account / MailDir / Inbox      the messages, one file each
//
// This module owns the form of the tree: how a domain and an account become a directory, and the walks over
// one. A name may come from a peer. None leads outside the tree, and one that differs from the stored name in
// ASCII case alone is found. There is no lock; a file becomes visible by a rename. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velnor {

inline constexpr const char* PROFILE_SECTION = "Profile";
inline constexpr const char* PROFILE_FILE = "config.ini";

// Whether a text may name a domain or an account: not empty, not "." or "..", and without "/", "\" and
// control characters.
bool IsStoreName(std::string_view name);

// "parent/name" as it stands on the disk: the name itself if it is there, else the first of the sorted
// entries that differ from it in ASCII case alone, else the name as it came. The name must be a store name.
std::string StorePath(const std::string& parent, std::string_view name);

// The directory of an account, "mail root/domain/account" with the parts as they stand on the disk. An
// account that is not there gives the path it would have; a name that IsStoreName refuses gives none.
std::optional<std::string> UserDirectory(std::string_view domain, std::string_view user);

// The path of "MailDir/Inbox" below a user's directory.
std::string InboxPath(const std::string& user_directory);

// What a look for an account's Inbox found, whose path is then in `inbox`. FAULT: the disk or the process is
// at fault, or the mail root itself is gone, so nothing can be said of the account.
enum class InboxState { PRESENT, MISSING, FAULT };
InboxState FindInbox(std::string_view domain, std::string_view user, std::string& inbox);

// What log-on checks: the account's domain is local, it has a profile whose switch `enable_key` is not 0, and
// the password equals the stored one (32 bytes of it) without regard to ASCII case. The user's directory, or
// none.
std::optional<std::string> Authenticate(std::string_view user, std::string_view password,
                                        std::string_view domain, std::string_view enable_key);

// Deletes a directory with all it holds. What can't be deleted is passed over and keeps the directories above
// it. A link, also one in the place of the directory, is removed, not what it points to. 1 if the directory
// is gone, else 0.
int DeleteTree(const std::string& path);

// Adds the number and the total size in bytes of all files below a directory, those ending in ".ini" left
// out. Always 1. A directory that can't be read counts for nothing; its path goes into `unread`, if given.
int MeasureMailbox(const std::string& path, std::int32_t& count, std::int64_t& bytes,
                   std::string* unread = nullptr);

}  // namespace velnor
