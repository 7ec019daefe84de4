#include "smtp/recipient_check.h"

#include <cstdint>
#include <optional>

#include "core/mail_store.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/profile_file.h"
#include "platform/text_stream.h"

namespace velnor {
namespace {

constexpr std::size_t ENTRY_LIMIT = 1023;  // bytes of a line taken at once
constexpr double FULL_SHARE = 0.98;
constexpr int KILOBYTE = 1024;

bool IsOverQuota(const std::string& user_directory, const std::string& profile) {
  const std::int32_t max_count = platform::ReadProfileInt(profile, PROFILE_SECTION, "MaxMailNum", 999);
  const std::int32_t box_megabytes = platform::ReadProfileInt(profile, PROFILE_SECTION, "MailBoxSize", 50);
  std::int32_t count = 0;
  std::int64_t bytes = 0;
  MeasureMailbox(user_directory, count, bytes);
  if (count >= max_count) return true;
  const auto limit = static_cast<std::int64_t>(FULL_SHARE * box_megabytes * KILOBYTE);
  return bytes / KILOBYTE >= limit;
}

}  // namespace

RecipientVerdict CheckRecipient(std::string_view address, std::string_view sender, bool relay_allowed) {
  const std::size_t at = address.find('@');
  if (at == std::string_view::npos) return RCPT_BAD_ADDRESS;
  const std::string_view user = address.substr(0, at);
  const std::string_view domain = address.substr(at + 1);
  if (user.empty() || domain.empty()) return RCPT_BAD_ADDRESS;
  if (relay_allowed) return RCPT_OK;
  if (g_SystemConfig.IsLocalDomain(domain) == 0) return RCPT_NOT_LOCAL;
  return CheckLocalRecipient(user, domain, sender);
}

RecipientVerdict CheckLocalRecipient(std::string_view user, std::string_view domain,
                                     std::string_view sender) {
  const std::optional<std::string> directory = UserDirectory(domain, user);
  if (!directory) return RCPT_NO_USER;
  const std::string profile = JoinPath(*directory, PROFILE_FILE);
  const platform::PathKind kind = platform::ProbePath(profile);
  // Where the disk or the process is at fault the client is to come again, not to be told that there is no
  // such user.
  if (kind == platform::PathKind::UNKNOWN) return RCPT_BAD_ADDRESS;
  if (kind == platform::PathKind::MISSING) return RCPT_NO_USER;
  if (SenderListMatches(JoinPath(*directory, "allow.ini"), sender) == 0 &&
      SenderListMatches(JoinPath(*directory, "reject.ini"), sender) == 1) {
    return RCPT_REJECTED;
  }
  return IsOverQuota(*directory, profile) ? RCPT_OVER_QUOTA : RCPT_OK;
}

int SenderListMatches(const std::string& list_path, std::string_view sender) {
  platform::TextReader list;
  if (list.Open(list_path) != 0) return 0;
  std::string line;
  while (list.ReadLine(ENTRY_LIMIT, line)) {
    const std::string_view entry = TrimBlanks(line);
    if (EqualsIgnoreCase(entry, sender)) return 1;
    if (entry.find('@') == std::string_view::npos && sender.find(entry) != std::string_view::npos) return 1;
  }
  return 0;
}

}  // namespace velnor
