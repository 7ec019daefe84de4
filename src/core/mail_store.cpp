#include "core/mail_store.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <vector>

#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/directory_walk.h"
#include "platform/file.h"
#include "platform/profile_file.h"

namespace velnor {
namespace {

constexpr std::size_t PASSWORD_LIMIT = 32;

bool IsDots(std::string_view name) {
  return name == "." || name == "..";
}

// StorePath, as a look that may fail: false if the parent is there and can't be searched.
bool FindStored(const std::string& parent, std::string_view name, std::string& path) {
  path = JoinPath(parent, std::string(name));
  if (platform::ProbePath(path) != platform::PathKind::MISSING) return true;
  platform::DirectoryWalk walk;
  if (const int error = walk.Open(parent); error != 0) return error == ENOENT || error == ENOTDIR;
  std::optional<std::string> best;
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    if (EqualsIgnoreCase(entry.name, name) && (!best || entry.name < *best)) best = entry.name;
  }
  if (!best) return !walk.Failed();
  path = JoinPath(parent, *best);
  return true;
}

// The entries of a directory but for "." and "..". The walk is over when they are used, so a deep tree holds
// no descriptors.
std::vector<platform::WalkEntry> Entries(const std::string& path) {
  std::vector<platform::WalkEntry> entries;
  platform::DirectoryWalk walk;
  if (walk.Open(path) != 0) return entries;
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    if (!IsDots(entry.name)) entries.push_back(entry);
  }
  return entries;
}

}  // namespace

bool IsStoreName(std::string_view name) {
  return !name.empty() && !IsDots(name) && std::none_of(name.begin(), name.end(), [](char c) {
    return c == '/' || c == '\\' || static_cast<unsigned char>(c) < ' ' || c == '\x7f';
  });
}

std::string StorePath(const std::string& parent, std::string_view name) {
  std::string path;
  FindStored(parent, name, path);
  return path;
}

std::optional<std::string> UserDirectory(std::string_view domain, std::string_view user) {
  if (!IsStoreName(domain) || !IsStoreName(user)) return std::nullopt;
  return StorePath(StorePath(g_SystemConfig.MailPath.Get(), domain), user);
}

std::string InboxPath(const std::string& user_directory) {
  return JoinPath(JoinPath(user_directory, "MailDir"), "Inbox");
}

InboxState FindInbox(std::string_view domain, std::string_view user, std::string& inbox) {
  if (!IsStoreName(domain) || !IsStoreName(user)) return InboxState::MISSING;
  std::string domain_directory;
  std::string user_directory;
  if (!FindStored(g_SystemConfig.MailPath.Get(), domain, domain_directory) ||
      !FindStored(domain_directory, user, user_directory)) {
    return InboxState::FAULT;
  }
  inbox = InboxPath(user_directory);
  const platform::PathKind kind = platform::ProbePath(inbox);
  if (kind == platform::PathKind::DIRECTORY) return InboxState::PRESENT;
  const bool root_stands = PathExists(g_SystemConfig.MailPath.Get(), PathFlag::DIRECTORY) == 1;
  return kind == platform::PathKind::UNKNOWN || !root_stands ? InboxState::FAULT : InboxState::MISSING;
}

std::optional<std::string> Authenticate(std::string_view user, std::string_view password,
                                        std::string_view domain, std::string_view enable_key) {
  if (g_SystemConfig.IsLocalDomain(domain) == 0) return std::nullopt;
  const std::optional<std::string> directory = UserDirectory(domain, user);
  if (!directory) return std::nullopt;
  const std::string profile = JoinPath(*directory, PROFILE_FILE);
  if (PathExists(profile, PathFlag::ANYTHING) == 0) return std::nullopt;
  const std::string stored =
      platform::ReadProfileString(profile, PROFILE_SECTION, "Password", "", PASSWORD_LIMIT);
  if (platform::ReadProfileInt(profile, PROFILE_SECTION, enable_key, 0) == 0) return std::nullopt;
  if (!EqualsIgnoreCase(password, stored)) return std::nullopt;
  return directory;
}

int DeleteTree(const std::string& path) {
  if (platform::IsLink(path)) return platform::DeleteFile(path) == 0 ? 1 : 0;
  for (const platform::WalkEntry& entry : Entries(path)) {
    const std::string below = JoinPath(path, entry.name);
    if (entry.isDirectory) {
      DeleteTree(below);
    } else {
      platform::DeleteFile(below);
    }
  }
  return platform::RemoveDirectory(path) == 0 ? 1 : 0;
}

int MeasureMailbox(const std::string& path, std::int32_t& count, std::int64_t& bytes, std::string* unread) {
  platform::DirectoryWalk walk;
  if (const int error = walk.Open(path); error != 0) {
    if (error != ENOENT && unread != nullptr) *unread = path;
    return 1;
  }
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    if (IsDots(entry.name)) continue;
    if (entry.isDirectory) {
      MeasureMailbox(JoinPath(path, entry.name), count, bytes, unread);
    } else if (entry.name.size() < 4 ||
               !EqualsIgnoreCase(TextFrom(entry.name, entry.name.size() - 4), ".ini")) {
      if (count < INT32_MAX) ++count;
      bytes += static_cast<std::int64_t>(entry.size);
    }
  }
  if (walk.Failed() && unread != nullptr) *unread = path;
  return 1;
}

}  // namespace velnor
