#include "control/config_check.h"

#include <algorithm>
#include <optional>

#include "console/logic/config_form.h"
#include "console/logic/field_check.h"
#include "control/account_check.h"
#include "control/file_check.h"
#include "control/mail_list_check.h"
#include "core/accounts.h"
#include "core/mail_store.h"
#include "core/paths.h"
#include "core/settings.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/profile_file.h"
#include "platform/socket.h"

namespace velnor {
namespace {

constexpr std::size_t WHOLE_VALUE = 64 * 1024;

std::string CaptionOf(const Setting& setting) {
  for (const ConfigField& field : ConfigFields()) {
    if (EqualsIgnoreCase(field.Key, setting.Key)) return field.Caption;
  }
  return setting.Key;
}

// What is wrong with a value as it stands in the file. Only those that an editor offers are checked.
FieldFault CheckSettingValue(const Setting& setting, const std::string& value) {
  const std::string caption = CaptionOf(setting);
  if (setting.Number != nullptr) {
    std::int32_t number = 0;
    return CheckNumber(caption, value, setting.OfferedMin, setting.OfferedMax, number);
  }
  if (setting.OfferedLimit == 0) return std::nullopt;
  return CheckText(caption, value, setting.OfferedLimit);
}

// Whether the server's look-up may find a host of this name or address.
bool CanBeHost(std::string_view text) {
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  const auto is_letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  if (platform::IsDottedAddress(text)) return true;
  return std::any_of(text.begin(), text.end(), is_letter) &&
         std::all_of(text.begin(), text.end(),
                     [&](char c) { return is_letter(c) || is_digit(c) || c == '-' || c == '_' || c == '.'; });
}

void CheckSettings(std::vector<ConfigFault>& faults) {
  const std::string ini = g_SystemConfig.IniPath.Get();
  for (const Setting& setting : AllSettings()) {
    const std::string value = platform::ReadProfileString(ini, SETTINGS_SECTION, setting.Key,
                                                          SettingValue(g_SystemConfig, setting), WHOLE_VALUE);
    if (const FieldFault fault = CheckSettingValue(setting, value)) {
      faults.push_back({ini, std::string(setting.Key) + "=" + value + ": " + *fault});
    }
  }
  for (const char* key : {"PrimaryDNS", "SecondaryDNS"}) {
    const std::string value = SettingValue(g_SystemConfig, *FindSetting(key));
    if (!value.empty() && !CanBeHost(value)) {
      faults.push_back({ini, std::string(key) + "=" + value + ": this is no IPv4 address and no host name."});
    }
  }
  if (g_SystemConfig.Pop3Port == 0 || g_SystemConfig.SmtpPort == 0) {
    faults.push_back({ini, "Without a port (0) a service listens on any that is free."});
  } else if (g_SystemConfig.Pop3Port == g_SystemConfig.SmtpPort) {
    faults.push_back({ini, "Pop3Port and SmtpPort are the same."});
  }
  const std::string mail_root = g_SystemConfig.MailPath.Get();
  if (PathExists(mail_root, PathFlag::DIRECTORY) == 0) {
    faults.push_back({mail_root, "The mail root is no directory: the server does not start."});
  }
}

// The list of domains as it stands in the file.
std::string WholeDomainList() {
  return platform::ReadProfileString(g_SystemConfig.IniPath.Get(), SETTINGS_SECTION, LOCAL_DOMAIN_KEY, "",
                                     WHOLE_VALUE);
}

void CheckDomains(std::vector<ConfigFault>& faults) {
  const std::string ini = g_SystemConfig.IniPath.Get();
  const std::vector<ConfigFault> dropped = DroppedDomains();
  faults.insert(faults.end(), dropped.begin(), dropped.end());
  for (const std::string& domain : *g_SystemConfig.LocalDomains.Get()) {
    const std::string directory = StorePath(g_SystemConfig.MailPath.Get(), domain);
    if (PathExists(directory, PathFlag::DIRECTORY) == 0) {
      faults.push_back({directory, "The domain " + domain + " has no directory."});
    }
    if (domain.size() > LOGON_DOMAIN_LIMIT) {
      faults.push_back({ini, "The domain " + domain + " has more than " + std::to_string(LOGON_DOMAIN_LIMIT) +
                                 " characters: its users can't log on."});
    }
  }
}

void CheckMailLists(std::vector<ConfigFault>& faults) {
  const std::string path = g_SystemConfig.MailListPath.Get();
  for (const std::string& line : DroppedMailListLines(path)) faults.push_back({path, line + "."});
  for (const MailList& list : *g_SystemConfig.MailLists.Get()) {
    platform::FixedText<127> user;
    platform::FixedText<127> domain;
    const bool local =
        SplitAddress(list.Name, user, domain) == 1 && g_SystemConfig.IsLocalDomain(domain) == 1;
    const std::optional<std::string> directory = UserDirectory(domain, user);
    if (!local || !directory || PathExists(JoinPath(*directory, PROFILE_FILE), PathFlag::ANYTHING) == 0) {
      faults.push_back(
          {std::string(list.Name.View()), "No account stands behind the list: its mail is refused."});
    }
  }
}

void CheckRules(std::vector<ConfigFault>& faults) {
  // Only a rule of nothing but stars and dots matches no text at all.
  if (g_SystemConfig.IsBlockedPeer("") == 1) {
    faults.push_back(
        {g_SystemConfig.RulesPath(), "An empty rule, or one of stars and dots, forbids every peer."});
  }
}

}  // namespace

bool IsDomainListCut() {
  return WholeDomainList().size() > LOCAL_DOMAIN_LIMIT;
}

std::vector<ConfigFault> DroppedDomains() {
  std::vector<ConfigFault> dropped;
  const std::string ini = g_SystemConfig.IniPath.Get();
  if (IsDomainListCut()) {
    dropped.push_back({ini, std::string(LOCAL_DOMAIN_KEY) + " is read only to its character " +
                                std::to_string(LOCAL_DOMAIN_LIMIT) + "."});
  }
  NameTable met;
  const std::string list = WholeDomainList().substr(0, LOCAL_DOMAIN_LIMIT);
  std::string_view left = list;
  while (!left.empty()) {
    const std::size_t length = std::min(left.find('|'), left.size());
    const std::string name(TrimBlanks(left.substr(0, length)));
    left = TextFrom(left, length + 1);
    if (length == 0) continue;
    if (g_SystemConfig.IsLocalDomain(name) == 0) {
      dropped.push_back({ini, "\"" + name + "\" can be no domain."});
    } else if (std::any_of(met.begin(), met.end(),
                           [&](const std::string& other) { return EqualsIgnoreCase(other, name); })) {
      dropped.push_back({ini, "The domain " + name + " is listed twice."});
    }
    met.push_back(name);
  }
  return dropped;
}

std::vector<ConfigFault> CheckConfiguration() {
  std::vector<ConfigFault> faults;
  const std::string files[] = {g_SystemConfig.IniPath.Get(), g_SystemConfig.MailListPath.Get(),
                               g_SystemConfig.RulesPath()};
  for (const std::string& file : files) CheckFile(file, WRITABLE_BY_OTHERS, faults);
  CheckDirectory(g_SystemConfig.LogPath.Get(), OPEN_TO_OTHERS, faults);
  CheckSettings(faults);
  CheckDomains(faults);
  CheckAccounts(faults);
  CheckMailLists(faults);
  CheckRules(faults);
  return faults;
}

}  // namespace velnor
