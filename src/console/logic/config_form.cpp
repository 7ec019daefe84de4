#include "console/logic/config_form.h"

#include <array>
#include <vector>

#include "console/logic/dialog_prompts.h"
#include "console/logic/field_check.h"
#include "core/settings.h"
#include "core/system_config.h"

namespace velnor {
namespace {

constexpr std::string_view ANTI_SPAM_KEY = "AntiSpamLevel";
constexpr std::string_view MAIL_PATH_KEY = "MailPath";

constexpr std::array FIELDS = {
    ConfigField{"MailPath", "Mailbox Path", ConfigFieldKind::TEXT},
    ConfigField{"AutoStart", "Automatically Start Server", ConfigFieldKind::TICK},
    ConfigField{"LogToFile", "Log to File", ConfigFieldKind::TICK},
    ConfigField{"Pop3Port", "POP3", ConfigFieldKind::NUMBER},
    ConfigField{"SecondaryDNS", "Secondary DNS", ConfigFieldKind::TEXT},
    ConfigField{"PrimaryDNS", "Primary DNS", ConfigFieldKind::TEXT},
    ConfigField{"SmtpPort", "SMTP", ConfigFieldKind::NUMBER},
    ConfigField{"WebPort", "WEB", ConfigFieldKind::NUMBER},
    ConfigField{"MaxSizePerMail", "Maxsize per mail", ConfigFieldKind::NUMBER},
    ConfigField{"AntiSpamLevel", "Level(0- 3)", ConfigFieldKind::NUMBER},
};

// A field's content, read and accepted.
struct Reading {
  const Setting* Row = nullptr;
  std::int32_t Number = 0;
  std::string Text = {};
};

FieldFault Read(const ConfigField& field, const std::string& value, Reading& reading) {
  const Setting& row = *reading.Row;
  if (field.Kind == ConfigFieldKind::TEXT) {
    reading.Text = value;
    // Without a mail root the domains' directories would lie in the root of the file system.
    if (value.empty() && field.Key == MAIL_PATH_KEY)
      return "\"Mailbox Path\" accepts the path of a directory.";
    return CheckText(field.Caption, value, row.OfferedLimit);
  }
  return CheckNumber(field.Caption, value, row.OfferedMin, row.OfferedMax, reading.Number);
}

void Store(const Reading& reading) {
  if (reading.Row->Text != nullptr) {
    (g_SystemConfig.*reading.Row->Text).Set(reading.Text);
  } else {
    (g_SystemConfig.*reading.Row->Number) = reading.Number;
  }
}

}  // namespace

std::span<const ConfigField> ConfigFields() {
  return FIELDS;
}

ConfigForm::ConfigForm(Prompter& prompter) : prompter_(prompter), read_(ReadSettings()), values_(read_) {
  AntiSpam = IsTicked(Value(ANTI_SPAM_KEY));
}

ConfigForm::Values ConfigForm::ReadSettings() {
  Values values;
  for (const ConfigField& field : FIELDS) {
    const std::string value = SettingValue(g_SystemConfig, *FindSetting(field.Key));
    values.emplace(field.Key, field.Kind == ConfigFieldKind::TICK ? TickValue(IsTicked(value)) : value);
  }
  return values;
}

void ConfigForm::Refresh() {
  Values fresh = ReadSettings();
  for (auto& [key, value] : values_) {
    if (value != read_[key] || value == fresh[key]) continue;
    value = fresh[key];
    if (key == ANTI_SPAM_KEY) AntiSpam = IsTicked(value);
  }
  read_ = std::move(fresh);
}

void ConfigForm::ClickAntiSpam(bool ticked) {
  AntiSpam = ticked;
  if (!ticked) Value(ANTI_SPAM_KEY) = std::to_string(0);
}

void ConfigForm::Browse() {
  const std::optional<std::string> folder = prompter_.ChooseFolder("Maildir Root:", Value(MAIL_PATH_KEY));
  if (!folder) return;
  if (folder->empty()) return ShowError(prompter_, "Failed to get directory");
  Value(MAIL_PATH_KEY) = *folder;
}

void ConfigForm::Apply() {
  FailedKey = "";
  Refresh();
  std::vector<Reading> readings;
  for (const ConfigField& field : FIELDS) {
    Reading reading{.Row = FindSetting(field.Key)};
    if (const FieldFault fault = Read(field, Value(field.Key), reading)) {
      ShowError(prompter_, *fault);
      FailedKey = field.Key;
      return;
    }
    readings.push_back(std::move(reading));
  }
  for (const Reading& reading : readings) Store(reading);
  g_SystemConfig.SaveConfig();
  values_ = read_ = ReadSettings();
  ShowInformation(prompter_, "Operation is successful");
}

}  // namespace velnor
