#include <algorithm>

#include "console/logic/config_form.h"
#include "control/commands.h"
#include "control/config_check.h"
#include "core/mail_store.h"
#include "core/paths.h"
#include "core/settings.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {
namespace {

const ConfigField* FindField(std::string_view key) {
  const auto fields = ConfigFields();
  const auto found = std::find_if(fields.begin(), fields.end(), [key](const ConfigField& field) {
    return EqualsIgnoreCase(field.Key, key);
  });
  return found == fields.end() ? nullptr : &*found;
}

// Puts settings into the form's fields. False, with the words shown, if one is none.
bool FillForm(Control& control, ConfigForm& form, const KeyValues& settings) {
  for (const auto& [key, value] : settings) {
    const ConfigField* const field = FindField(key);
    if (EqualsIgnoreCase(key, LOCAL_DOMAIN_KEY)) {
      return control.Refuse("The domains are changed by \"velnorctl domain\".") == DONE;
    }
    if (field == nullptr) {
      const char* const what = FindSetting(key) == nullptr ? "There is no setting \"" : "Nothing uses \"";
      return control.Refuse(what + key + "\".") == DONE;
    }
    const FieldFault fault = field->Kind == ConfigFieldKind::TICK ? CheckTick(field->Caption, value)
                                                                  : CheckPlainText(field->Caption, value);
    if (fault) return control.Refuse(*fault) == DONE;
    form.Value(field->Key) = TrimBlanks(value);
  }
  return true;
}

Cell ValueOf(const Setting& setting) {
  if (setting.Text != nullptr) return SettingValue(g_SystemConfig, setting);
  return static_cast<std::int64_t>((g_SystemConfig.*setting.Number).load());
}

bool NamesKey(const KeyValues& settings, std::string_view wanted) {
  return std::any_of(settings.begin(), settings.end(),
                     [wanted](const auto& setting) { return EqualsIgnoreCase(setting.first, wanted); });
}

// When a change of a setting counts; none for WebPort, which no service reads.
std::optional<Effect> EffectOf(std::string_view key) {
  if (EqualsIgnoreCase(key, "WebPort")) return std::nullopt;
  if (EqualsIgnoreCase(key, "AutoStart")) return Effect::CONSOLE_START;
  const bool is_port = EqualsIgnoreCase(key, "Pop3Port") || EqualsIgnoreCase(key, "SmtpPort");
  return is_port ? Effect::PORTS : Effect::RELOAD;
}

// The domains' directories under a mail root, which a save makes.
std::vector<std::string> DomainDirectories(const std::string& mail_path) {
  std::vector<std::string> paths;
  for (const std::string& domain : *g_SystemConfig.LocalDomains.Get()) {
    paths.push_back(StorePath(mail_path, domain));
  }
  return paths;
}

// Whether each domain that a save makes a directory for stands whole in the list. If not, the words have been
// shown.
bool AreDomainsWhole(Control& control) {
  if (control.Chosen.Force || !IsDomainListCut()) return true;
  control.Refuse(std::string(LOCAL_DOMAIN_KEY) + " has more than " + std::to_string(LOCAL_DOMAIN_LIMIT) +
                 " characters: a directory could be made for a name that is cut there. Mend it first, or use "
                 "--force.");
  return false;
}

void NoteEffect(Control& control, const KeyValues& settings) {
  if (PathExists(g_SystemConfig.MailPath.Get(), PathFlag::DIRECTORY) == 0) {
    control.Note(g_SystemConfig.MailPath.Get() + " is no directory: the server does not start without it.");
  }
  for (const Effect effect : {Effect::RELOAD, Effect::PORTS, Effect::CONSOLE_START}) {
    const auto has_effect = [effect](const auto& setting) { return EffectOf(setting.first) == effect; };
    if (std::any_of(settings.begin(), settings.end(), has_effect)) control.SayWhenItCounts(effect);
  }
}

}  // namespace

int ConfigShow(Control& control, const Arguments&) {
  Record record;
  for (const Setting& setting : AllSettings()) record.emplace_back(setting.Key, ValueOf(setting));
  record.emplace_back(LOCAL_DOMAIN_KEY, *g_SystemConfig.LocalDomains.Get());
  control.Show(record);
  return DONE;
}

int ConfigGet(Control& control, const Arguments& arguments) {
  if (EqualsIgnoreCase(arguments.First, LOCAL_DOMAIN_KEY)) {
    control.Show(Listing{{LOCAL_DOMAIN_KEY}, {{*g_SystemConfig.LocalDomains.Get()}}});
    return DONE;
  }
  const Setting* const setting = FindSetting(arguments.First);
  if (setting == nullptr) return control.Refuse("There is no setting \"" + arguments.First + "\".");
  control.Show(Listing{{setting->Key}, {{ValueOf(*setting)}}});
  return DONE;
}

int ConfigSet(Control& control, const Arguments& arguments) {
  const std::string ini = g_SystemConfig.IniPath.Get();
  if (!control.MayReplace(ini) || !AreDomainsWhole(control)) return REFUSED;
  ConfigForm form(control.Prompts);
  if (!FillForm(control, form, arguments.Settings)) return REFUSED;

  const NewFiles file({ini});
  const NewFiles directories(DomainDirectories(form.Value("MailPath")));
  form.Apply();
  if (std::string_view(form.FailedKey).empty()) {
    file.HandOverReadable();
    directories.HandOver();
    if (!control.CheckSaved(Part::SETTINGS)) return REFUSED;
    NoteEffect(control, arguments.Settings);
    return DONE;
  }
  if (!NamesKey(arguments.Settings, form.FailedKey)) {
    control.Note(std::string(form.FailedKey) + " in velnor.ini is not accepted. Set it in the same command.");
  }
  return REFUSED;
}

int ConfigCheck(Control& control, const Arguments&) {
  const std::vector<ConfigFault> faults = CheckConfiguration();
  Listing listing{{"place", "fault"}, {}};
  for (const ConfigFault& fault : faults) listing.Rows.push_back({fault.Place, fault.Text});
  if (control.Chosen.Json) {
    control.Show(listing);
  } else {
    for (const ConfigFault& fault : faults) {
      control.Around.Screen.Out(LogSafe(fault.Place + ": " + fault.Text) + "\n");
    }
    if (faults.empty()) control.Note("No fault was found.");
  }
  return faults.empty() ? DONE : REFUSED;
}

}  // namespace velnor
