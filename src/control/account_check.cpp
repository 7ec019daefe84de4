#include "control/account_check.h"

#include "console/logic/field_check.h"
#include "control/file_check.h"
#include "core/accounts.h"
#include "core/mail_store.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/file_rights.h"
#include "platform/profile_file.h"
#include "platform/text_stream.h"

namespace velnor {
namespace {

constexpr std::size_t NUMBER_LENGTH = 30;   // bytes; more than any number that is accepted
constexpr std::size_t SENDER_LIMIT = 1023;  // bytes of a sender's line that the server takes at once

void CheckValue(const std::string& path, const ProfileField& field, std::vector<ConfigFault>& faults) {
  const bool text = field.Text != nullptr;
  const std::string value = platform::ReadProfileString(path, PROFILE_SECTION, field.Key, text ? "" : "0",
                                                        text ? field.LoadLimit : NUMBER_LENGTH);
  std::int32_t number = 0;
  const FieldFault fault = text ? CheckText(field.Caption, value, field.FieldLimit)
                                : CheckNumber(field.Caption, value, 0, field.Max, number);
  if (!fault) return;
  // A text may be the password.
  const std::string shown = text ? "" : "=" + value;
  faults.push_back({path, field.Key + shown + ": " + *fault});
}

// The server works under one account, to which the mail root belongs.
void CheckOwner(const std::string& path, std::vector<ConfigFault>& faults) {
  const auto rights = platform::RightsOf(path);
  const auto root = platform::RightsOf(g_SystemConfig.MailPath.Get());
  if (rights && root && rights->Owner != root->Owner) {
    faults.push_back({path, "It belongs to the user " + std::to_string(rights->Owner) +
                                ", the mail root to the user " + std::to_string(root->Owner) + "."});
  }
}

// One of the two files of senders that an account may have.
void CheckSenders(const std::string& path, std::vector<ConfigFault>& faults) {
  platform::TextReader file;
  if (!CheckFile(path, WRITABLE_BY_OTHERS, faults) || file.Open(path) != 0) return;
  std::string line;
  for (int number = 1; file.ReadLine(SENDER_LIMIT, line); ++number) {
    if (!TrimBlanks(line).empty()) continue;
    faults.push_back({path, "Line " + std::to_string(number) + " is empty: that matches every sender."});
  }
}

void CheckAccount(const std::string& domain, const std::string& account, std::vector<ConfigFault>& faults) {
  const std::string directory = UserDirectory(domain, account).value_or("");
  const std::string profile = JoinPath(directory, PROFILE_FILE);
  for (const std::string& path : {directory, InboxPath(directory)}) {
    CheckDirectory(path, OPEN_TO_OTHERS, faults);
    CheckOwner(path, faults);
  }
  CheckFilesOf(InboxPath(directory), faults);
  for (const char* senders : {"allow.ini", "reject.ini"}) CheckSenders(JoinPath(directory, senders), faults);
  if (PathExists(InboxPath(directory), PathFlag::DIRECTORY) == 0) {
    faults.push_back({InboxPath(directory), "The account has no Inbox: its mail is refused."});
  }
  CheckOwner(profile, faults);
  if (!CheckFile(profile, OPEN_TO_ANYBODY_ELSE, faults)) return;
  for (const ProfileField& field : ProfileFields()) CheckValue(profile, field, faults);
  const UserProfile values = LoadProfile(domain, account);
  if (values.Password.empty() && (values.Pop3Enable != 0 || values.SmtpEnable != 0)) {
    faults.push_back({profile, "The account may log on and has no password."});
  }
  if (values.Password.size() > LOGON_PASSWORD_LIMIT) {
    faults.push_back({profile, "The password has more than " + std::to_string(LOGON_PASSWORD_LIMIT) +
                                   " characters: no log-on takes it."});
  }
}

}  // namespace

void CheckAccounts(std::vector<ConfigFault>& faults) {
  CheckDirectory(g_SystemConfig.MailPath.Get(), WRITABLE_BY_OTHERS, faults);
  CheckDirectory(g_SystemConfig.SpoolPath(), OPEN_TO_OTHERS, faults);
  CheckOwner(g_SystemConfig.SpoolPath(), faults);
  CheckFilesOf(g_SystemConfig.SpoolPath(), faults);
  for (const std::string& domain : *g_SystemConfig.LocalDomains.Get()) {
    const std::string directory = StorePath(g_SystemConfig.MailPath.Get(), domain);
    CheckDirectory(directory, OPEN_TO_OTHERS, faults);
    CheckOwner(directory, faults);
    for (const AccountRow& row : ListAccounts(domain)) CheckAccount(domain, row.Account, faults);
  }
}

}  // namespace velnor
