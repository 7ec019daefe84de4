#include "agent/generated_mail.h"

#include <optional>
#include <string>

#include "core/base64.h"
#include "core/mail_store.h"
#include "core/paths.h"
#include "core/spool_file.h"
#include "core/system_config.h"
#include "core/timestamps.h"
#include "platform/profile_file.h"

namespace velnor {
namespace {

constexpr std::size_t SUBJECT_LIMIT = 127;
constexpr std::size_t BODY_LIMIT = 1022;
constexpr std::size_t FORWARD_LIMIT = 126;
constexpr int MAX_FORWARDS = 20;
constexpr std::size_t LINE_LIMIT = 1023;

std::string Text(std::string_view text) {
  return std::string(text);
}

std::string PostmasterOf(std::string_view domain) {
  return "Postmaster@" + Text(domain);
}

// The line that this agent puts on top of a message of its own making or forwarding.
std::string ReceivedStart() {
  return FormatText("Received: (Velnor Smtp %s) ; ", MAIL_VERSION);
}

std::string ReceivedLine() {
  return ReceivedStart() + RfcDateNow() + "\r\n";
}

// The user's profile, or none where there is no such user.
std::optional<std::string> ProfileOf(std::string_view user, std::string_view domain) {
  const std::optional<std::string> directory = UserDirectory(domain, user);
  if (!directory) return std::nullopt;
  std::string profile = JoinPath(*directory, PROFILE_FILE);
  if (PathExists(profile, PathFlag::ANYTHING) == 0) return std::nullopt;
  return profile;
}

std::string ProfileText(const std::string& profile, std::string_view key, std::size_t limit) {
  return platform::ReadProfileString(profile, PROFILE_SECTION, key, "", limit);
}

int ProfileNumber(const std::string& profile, std::string_view key) {
  return platform::ReadProfileInt(profile, PROFILE_SECTION, key, 0);
}

// How often this server has put its line on top of the message's head.
int CountForwards(platform::TextReader& message) {
  const std::string mark = ReceivedStart();
  const auto start = message.Tell();
  int count = 0;
  std::string line;
  while (message.ReadLine(LINE_LIMIT, line) && !TrimBlanks(line).empty()) {
    if (line.starts_with(mark)) ++count;
  }
  message.Seek(start);
  return count;
}

void WriteNotice(MailFile& file, std::string_view domain, std::string_view recipients,
                 std::string_view sender, std::string_view reason) {
  file.Write("From: " + PostmasterOf(domain) + "\n");
  file.Write("To: " + Text(sender) + "\n");
  file.Write("Date: " + RfcDateNow() + "\n");
  file.Write("Subject: Failed Delivery Notification\n\n");
  file.Write("Mail transport error, Velnor SMTP Agent could not deliver the following message to <" +
             Text(recipients) + ">\n\nReason: " + Text(reason) + "\n\n");
  file.Write("--======-- Original Message Follows --======--  \n\n");
}

}  // namespace

int SendBounce(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view recipients,
               std::string_view sender, std::string_view reason) {
  if (g_SystemConfig.FindMailList(sender) != nullptr) return 1;
  AgentUser user;
  AgentDomain domain;
  if (SplitAddress(sender, user, domain) == 0 || g_SystemConfig.IsLocalDomain(domain) == 0) return 0;
  std::string inbox;
  const InboxState state = FindInbox(domain, user, inbox);
  if (state == InboxState::MISSING) return 0;
  if (state == InboxState::FAULT) return DELIVERY_FAULT;
  MailFile notice;
  if (notice.Create(inbox, MailPlace::INBOX, thread_id) != 0) return DELIVERY_FAULT;
  WriteNotice(notice, domain, recipients, sender, reason);
  return notice.CopyFrom(spool_file) && notice.Publish() ? 1 : DELIVERY_FAULT;
}

int AutoRespond(std::uint32_t thread_id, std::string_view user, std::string_view domain,
                std::string_view sender) {
  const std::optional<std::string> profile = ProfileOf(user, domain);
  if (!profile || ProfileNumber(*profile, "ResponseEnable") == 0) return 0;
  std::string subject = ProfileText(*profile, "ResponseSubject", SUBJECT_LIMIT);
  if (subject.empty()) subject = "Auto Response Message From <" + Text(user) + " AT " + Text(domain) + ">";
  const std::string body = ProfileText(*profile, "ResponseBody", BODY_LIMIT);

  MailFile file;
  if (file.Create(g_SystemConfig.SpoolPath(), MailPlace::SPOOL, thread_id) != 0) return 0;
  WriteSpoolHead(file, sender, PostmasterOf(domain), 0);
  file.Write(ReceivedLine());
  file.Write("From: " + Text(user) + "@" + Text(domain) + "\n");
  file.Write("To: " + Text(sender) + "\n");
  file.Write("Date: " + RfcDateNow() + "\n");
  file.Write("Mime-Version: 1.0\n");
  file.Write("Subject: =?gb2312?B?" + Base64Encode(subject) + "?=\n");
  file.Write("Content-Type: text/plain;\n charset=\"gb2312\"\nContent-Transfer-Encoding: base64\n\n");
  file.Write(Base64Encode(body.empty() ? subject : body));
  return file.Publish() ? 1 : 0;
}

int ForwardMail(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view user,
                std::string_view domain) {
  const std::optional<std::string> profile = ProfileOf(user, domain);
  if (!profile || ProfileNumber(*profile, "ForwardEnable") == 0) return 0;
  const int replaces_local_copy = ProfileNumber(*profile, "ForwardSaveLocal");
  const std::string target = ProfileText(*profile, "ForwardAddr", FORWARD_LIMIT);
  if (target.find('@') == std::string::npos || CountForwards(spool_file) >= MAX_FORWARDS) return 0;

  MailFile file;
  if (file.Create(g_SystemConfig.SpoolPath(), MailPlace::SPOOL, thread_id) != 0) return 0;
  WriteSpoolHead(file, target, PostmasterOf(domain), 0);
  file.Write(ReceivedLine());
  return file.CopyFrom(spool_file) && file.Publish() ? replaces_local_copy : 0;
}

}  // namespace velnor
