#include "core/accounts.h"

#include <algorithm>
#include <array>

#include "core/mail_store.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/directory_walk.h"
#include "platform/file.h"
#include "platform/profile_file.h"

namespace velnor {
namespace {

constexpr std::size_t LISTED_ACCOUNT_LIMIT = 99;
constexpr std::size_t LISTED_NAME_LIMIT = 98;
constexpr std::int32_t LARGEST_NUMBER = 65534;
constexpr const char* SPOOL_NAME = "send";

constexpr ProfileField Text(const char* key, const char* caption, std::string UserProfile::*field,
                            std::size_t field_limit, std::size_t load_limit) {
  ProfileField row{.Key = key, .Caption = caption, .Kind = ProfileKind::TEXT, .Text = field};
  row.FieldLimit = field_limit;
  row.LoadLimit = load_limit;
  return row;
}

constexpr ProfileField Flag(const char* key, const char* caption, std::int32_t UserProfile::*field) {
  ProfileField row{.Key = key, .Caption = caption, .Kind = ProfileKind::FLAG};
  row.Number = field;
  row.Max = 1;
  return row;
}

constexpr ProfileField Number(const char* key, const char* caption, std::int32_t UserProfile::*field,
                              std::int32_t max, std::int32_t new_value, std::int32_t missing_value) {
  ProfileField row{.Key = key, .Caption = caption, .Kind = ProfileKind::NUMBER};
  row.Number = field;
  row.Max = max;
  row.NewValue = new_value;
  row.MissingValue = missing_value;
  return row;
}

constexpr std::array FIELDS = {
    Text("Username", "User Name", &UserProfile::Username, 20, 98),
    Text("Password", "Password", &UserProfile::Password, 20, 98),
    Flag("Pop3Enable", "Pop3 Enable", &UserProfile::Pop3Enable),
    Flag("SmtpEnable", "SMTP Enable", &UserProfile::SmtpEnable),
    Flag("WebEnable", "WEB Enable", &UserProfile::WebEnable),
    Number("MaxMailNum", "Max mails num", &UserProfile::MaxMailNum, LARGEST_NUMBER, 999, 999),
    Number("MailBoxSize", "Mailbox size", &UserProfile::MailBoxSize, LARGEST_NUMBER, 50, 50),
    Number("MailFolderNum", "Max folders num", &UserProfile::MailFolderNum, 999, 10, 10),
    Number("NetDiskSize", "Netdisk size", &UserProfile::NetDiskSize, LARGEST_NUMBER, 100, 50),
    Text("ResponseSubject", "Auto response subject", &UserProfile::ResponseSubject, 1024, 2046),
    Text("ForwardAddr", "Forward mail address", &UserProfile::ForwardAddr, 255, 510),
    Flag("ForwardEnable", "Enable mail forward", &UserProfile::ForwardEnable),
    Flag("ResponseEnable", "Enable auto response", &UserProfile::ResponseEnable),
    Flag("ForwardSaveLocal", "save it in local?", &UserProfile::ForwardSaveLocal),
};

bool IsAddressPart(std::string_view name) {
  return IsStoreName(name) && name.find_first_of(" @*?") == std::string_view::npos;
}

}  // namespace

std::span<const ProfileField> ProfileFields() {
  return FIELDS;
}

const ProfileField* FindProfileField(std::string_view key) {
  const auto* const found = std::find_if(FIELDS.begin(), FIELDS.end(), [key](const ProfileField& row) {
    return EqualsIgnoreCase(row.Key, key);
  });
  return found == FIELDS.end() ? nullptr : found;
}

std::string ProfileValue(const UserProfile& profile, const ProfileField& field) {
  return field.Text != nullptr ? profile.*field.Text : std::to_string(profile.*field.Number);
}

UserProfile NewProfile() {
  UserProfile profile;
  for (const ProfileField& field : FIELDS) {
    if (field.Number != nullptr) profile.*field.Number = field.NewValue;
  }
  return profile;
}

bool IsNewAccountName(std::string_view name) {
  return name.size() <= ACCOUNT_NAME_LIMIT && IsAddressPart(name);
}

bool IsNewDomainName(std::string_view name) {
  return name.size() <= DOMAIN_NAME_LIMIT && IsAddressPart(name) &&
         name.find('|') == std::string_view::npos && !EqualsIgnoreCase(name, SPOOL_NAME);
}

std::vector<AccountRow> ListAccounts(std::string_view domain) {
  std::vector<AccountRow> rows;
  if (!IsStoreName(domain)) return rows;
  const std::string directory = StorePath(g_SystemConfig.MailPath.Get(), domain);
  platform::DirectoryWalk walk;
  if (walk.Open(directory) != 0) return rows;
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    if (!entry.isDirectory || entry.name == "." || entry.name == "..") continue;
    const std::string profile = JoinPath(JoinPath(directory, entry.name), PROFILE_FILE);
    if (PathExists(profile, PathFlag::ANYTHING) == 0) continue;
    rows.push_back(
        {entry.name.substr(0, LISTED_ACCOUNT_LIMIT),
         platform::ReadProfileString(profile, PROFILE_SECTION, "Username", "UNKNOWN", LISTED_NAME_LIMIT)});
  }
  return rows;
}

std::optional<std::string> ProfilePath(std::string_view domain, std::string_view account) {
  const std::optional<std::string> directory = UserDirectory(domain, account);
  if (!directory) return std::nullopt;
  return JoinPath(*directory, PROFILE_FILE);
}

UserProfile LoadProfile(std::string_view domain, std::string_view account) {
  UserProfile profile;
  const std::string path = ProfilePath(domain, account).value_or("");
  for (const ProfileField& field : FIELDS) {
    if (field.Text != nullptr) {
      profile.*field.Text =
          platform::ReadProfileString(path, PROFILE_SECTION, field.Key, "", field.LoadLimit);
    } else {
      profile.*field.Number = platform::ReadProfileInt(path, PROFILE_SECTION, field.Key, field.MissingValue);
    }
  }
  return profile;
}

int SaveProfile(const std::string& config_path, const UserProfile& profile) {
  platform::ProfileKeys keys;
  for (const ProfileField& field : FIELDS) keys.emplace_back(field.Key, ProfileValue(profile, field));
  return platform::WriteProfile(config_path, PROFILE_SECTION, keys) ? 1 : 0;
}

int CreateAccount(std::string_view domain, std::string_view account, const UserProfile& profile) {
  const std::optional<std::string> directory = UserDirectory(domain, account);
  if (!directory) return 0;
  platform::CreateDirectory(*directory);
  platform::CreateDirectory(JoinPath(*directory, "MailDir"));
  platform::CreateDirectory(InboxPath(*directory));
  const std::string config_path = JoinPath(*directory, PROFILE_FILE);
  platform::CreateEmptyFile(config_path);
  return SaveProfile(config_path, profile);
}

int DeleteAccount(std::string_view domain, std::string_view account) {
  const std::optional<std::string> directory = UserDirectory(domain, account);
  return directory ? DeleteTree(*directory) : 0;
}

}  // namespace velnor
