#include "core/settings.h"

#include <algorithm>
#include <array>

#include "core/text.h"

namespace velnor {
namespace {

constexpr std::int32_t LARGEST_PORT = 65534;

constexpr Setting Number(const char* key, SharedNumber CSystemConfig::*field, std::int32_t default_value,
                         std::int32_t min, std::int32_t max) {
  Setting setting{.Key = key, .Number = field};
  setting.NumberDefault = default_value;
  setting.OfferedMin = min;
  setting.OfferedMax = max;
  return setting;
}

constexpr Setting Text(const char* key, SharedText CSystemConfig::*field, TextDefault default_text,
                       std::size_t read_limit, std::size_t offered_limit) {
  Setting setting{.Key = key, .Text = field};
  setting.DefaultText = default_text;
  setting.ReadLimit = read_limit;
  setting.OfferedLimit = offered_limit;
  return setting;
}

constexpr std::array SETTINGS = {
    Text("MailPath", &CSystemConfig::MailPath, TextDefault::APP_DIRECTORY, 254, 254),
    Text("WebPath", &CSystemConfig::WebPath, TextDefault::APP_DIRECTORY, 254, 0),
    Number("Pop3Port", &CSystemConfig::Pop3Port, 110, 0, LARGEST_PORT),
    Number("SmtpPort", &CSystemConfig::SmtpPort, 25, 0, LARGEST_PORT),
    Number("WebPort", &CSystemConfig::WebPort, 80, 0, LARGEST_PORT),
    Number("AutoStart", &CSystemConfig::AutoStart, 0, 0, 1),
    Number("LogToFile", &CSystemConfig::LogToFile, 0, 0, 1),
    Number("AntiSpamLevel", &CSystemConfig::AntiSpamLevel, 0, 0, 3),
    Number("MaxSizePerMail", &CSystemConfig::MaxSizePerMail, 5, 2, 30),
    Text("PrimaryDNS", &CSystemConfig::PrimaryDNS, TextDefault::EMPTY, 48, 30),
    Text("SecondaryDNS", &CSystemConfig::SecondaryDNS, TextDefault::EMPTY, 48, 30),
};

}  // namespace

std::span<const Setting> AllSettings() {
  return SETTINGS;
}

const Setting* FindSetting(std::string_view key) {
  const auto* const found = std::find_if(
      SETTINGS.begin(), SETTINGS.end(), [key](const Setting& row) { return EqualsIgnoreCase(row.Key, key); });
  return found == SETTINGS.end() ? nullptr : found;
}

std::string SettingValue(const CSystemConfig& config, const Setting& setting) {
  if (setting.Text != nullptr) return (config.*setting.Text).Get();
  return std::to_string((config.*setting.Number).load());
}

}  // namespace velnor
