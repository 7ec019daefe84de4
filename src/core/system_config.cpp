#include "core/system_config.h"

#include <algorithm>

#include "core/mail_store.h"
#include "core/paths.h"
#include "core/settings.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/profile_file.h"
#include "platform/text_stream.h"

namespace velnor {
namespace {

constexpr const char* PLACEHOLDER_DOMAIN = "localhost";
constexpr const char* SPOOL_DIRECTORY = "send";

NameTable::const_iterator FindName(const NameTable& table, std::string_view name) {
  return std::find_if(table.begin(), table.end(),
                      [name](const std::string& entry) { return EqualsIgnoreCase(entry, name); });
}

// The domains as the setting holds them, each one followed by a "|".
std::string StoredForm(const NameTable& domains) {
  std::string list;
  for (const std::string& domain : domains) list += domain + '|';
  return list;
}

// Whether a domain of this name can have a directory and stand in the list: the spool has its name already,
// and the list's separator and the wildcards of a path would come back as something else.
bool IsDomainName(std::string_view name) {
  return IsStoreName(name) && name.find_first_of("|*?") == std::string_view::npos &&
         !EqualsIgnoreCase(name, SPOOL_DIRECTORY);
}

}  // namespace

CSystemConfig g_SystemConfig;

void CSystemConfig::Open(const std::string& working_directory, const std::string& app_directory) {
  SetPlaces(working_directory, app_directory);
  platform::CreateEmptyFile(IniPath.Get());
  platform::CreateEmptyFile(MailListPath.Get());
  platform::CreateDirectory(LogPath.Get());
  LoadConfig();
}

void CSystemConfig::OpenExisting(const std::string& working_directory, const std::string& app_directory) {
  SetPlaces(working_directory, app_directory);
  LoadSettings();
  NameTable domains;
  for (std::string& name : StoredDomains()) {
    if (FindName(domains, name) == domains.end() && IsDomainName(name)) domains.push_back(std::move(name));
  }
  LocalDomains.Set(std::move(domains));
  LoadRules();
  LoadMailLists();
}

void CSystemConfig::SetPlaces(const std::string& working_directory, const std::string& app_directory) {
  app_directory_ = app_directory;
  IniPath.Set(JoinPath(working_directory, "velnor.ini"));
  MailListPath.Set(JoinPath(working_directory, "maillist.ini"));
  LogPath.Set(JoinPath(working_directory, "logs"));
}

void CSystemConfig::LoadConfig() {
  LoadSettings();
  LoadDomains();
  LoadRules();
  LoadMailLists();
  if (PathExists(SpoolPath(), PathFlag::DIRECTORY) == 0) platform::CreateDirectory(SpoolPath());
}

void CSystemConfig::LoadSettings() {
  const std::string ini = IniPath.Get();
  for (const Setting& setting : AllSettings()) {
    if (setting.Number != nullptr) {
      (this->*setting.Number) =
          platform::ReadProfileInt(ini, SETTINGS_SECTION, setting.Key, setting.NumberDefault);
    } else {
      const std::string absent = setting.DefaultText == TextDefault::APP_DIRECTORY ? app_directory_ : "";
      (this->*setting.Text)
          .Set(platform::ReadProfileString(ini, SETTINGS_SECTION, setting.Key, absent, setting.ReadLimit));
    }
  }
}

int CSystemConfig::Reload() {
  const std::string ini = IniPath.Get();
  platform::TextReader probe;
  if (probe.Open(ini) != 0) return 0;
  const std::size_t limit = FindSetting("MailPath")->ReadLimit;
  const std::string root =
      platform::ReadProfileString(ini, SETTINGS_SECTION, "MailPath", app_directory_, limit);
  if (PathExists(root, PathFlag::DIRECTORY) == 0) return 0;
  LoadConfig();
  return 1;
}

void CSystemConfig::SaveConfig() {
  platform::ProfileKeys keys;
  for (const Setting& setting : AllSettings()) keys.emplace_back(setting.Key, SettingValue(*this, setting));
  platform::WriteProfile(IniPath.Get(), SETTINGS_SECTION, keys);
  LoadDomains();
}

NameTable CSystemConfig::StoredDomains() const {
  const std::string list =
      platform::ReadProfileString(IniPath.Get(), SETTINGS_SECTION, LOCAL_DOMAIN_KEY, "", LOCAL_DOMAIN_LIMIT);
  NameTable names;
  std::string_view left = list;
  while (!left.empty()) {
    const std::size_t length = std::min(left.find('|'), left.size());
    if (length > 0) names.emplace_back(TrimBlanks(left.substr(0, length)));
    left = TextFrom(left, length + 1);
  }
  return names;
}

void CSystemConfig::LoadDomains() {
  NameTable domains;
  for (const std::string& name : StoredDomains()) AddDomainTo(domains, name);
  LocalDomains.Set(std::move(domains));
}

void CSystemConfig::SaveDomains() {
  platform::WriteProfile(IniPath.Get(), SETTINGS_SECTION,
                         {{LOCAL_DOMAIN_KEY, StoredForm(*LocalDomains.Get())}});
}

int CSystemConfig::AddDomain(std::string_view name) {
  NameTable domains = *LocalDomains.Get();
  // A domain that a load would cut off would be lost with the next start, and its mail with it.
  if (StoredForm(domains).size() + name.size() + 1 > LOCAL_DOMAIN_LIMIT) return 0;
  if (AddDomainTo(domains, name) == 0) return 0;
  LocalDomains.Set(std::move(domains));
  return 1;
}

int CSystemConfig::AddDomainTo(NameTable& domains, std::string_view name) const {
  if (FindName(domains, name) != domains.end() || !IsDomainName(name)) return 0;
  const std::string directory = DomainPath(name);
  if (PathExists(directory, PathFlag::DIRECTORY) == 0 && platform::CreateDirectory(directory) != 0) return 0;
  domains.emplace_back(name);
  return 1;
}

int CSystemConfig::DeleteDomain(std::string_view name) {
  NameTable domains = *LocalDomains.Get();
  const auto entry = FindName(domains, name);
  if (entry == domains.end()) return 1;
  const std::string directory = DomainPath(*entry);
  if (PathExists(directory, PathFlag::DIRECTORY) == 1 && DeleteTree(directory) == 0) return 0;
  domains.erase(entry);
  LocalDomains.Set(std::move(domains));
  return 1;
}

int CSystemConfig::UpdateDomain(std::string_view old_name, std::string_view new_name) {
  NameTable domains = *LocalDomains.Get();
  const auto entry = FindName(domains, old_name);
  if (entry == domains.end() || !IsDomainName(new_name)) return 0;
  if (StoredForm(domains).size() - entry->size() + new_name.size() > LOCAL_DOMAIN_LIMIT) return 0;
  const std::string from = DomainPath(*entry);
  const std::string to = DomainPath(new_name);
  if (PathExists(from, PathFlag::DIRECTORY) == 1 && PathExists(to, PathFlag::DIRECTORY) == 0 &&
      platform::MoveFile(from, to) != 0) {
    return 0;
  }
  domains[static_cast<std::size_t>(entry - domains.begin())] = new_name;
  LocalDomains.Set(std::move(domains));
  return 1;
}

int CSystemConfig::IsLocalDomain(std::string_view name) const {
  const auto domains = LocalDomains.Get();
  return FindName(*domains, name) != domains->end() ? 1 : 0;
}

std::string CSystemConfig::DefaultDomain() const {
  const auto domains = LocalDomains.Get();
  return domains->empty() ? PLACEHOLDER_DOMAIN : domains->front();
}

std::string CSystemConfig::SpoolPath() const {
  return JoinPath(MailPath.Get(), SPOOL_DIRECTORY);
}

std::string CSystemConfig::RulesPath() const {
  return JoinPath(app_directory_, "rules.ini");
}

std::string CSystemConfig::DomainPath(std::string_view name) const {
  return StorePath(MailPath.Get(), name);
}

}  // namespace velnor
