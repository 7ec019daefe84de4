// The table of all settings in velnor.ini: key, field, default, and the limits on reading and on editing. It
// drives loading, saving, the console's form and the command line tool. Constant; any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/system_config.h"

namespace velnor {

inline constexpr const char* SETTINGS_SECTION = "System";
inline constexpr const char* LOCAL_DOMAIN_KEY = "LocalDomain";
inline constexpr std::size_t LOCAL_DOMAIN_LIMIT = 1022;  // bytes read of the domain list

// What a text setting is when its key is absent.
enum class TextDefault { EMPTY, APP_DIRECTORY };

struct Setting {
  const char* Key;

  // One of the two fields is set.
  SharedNumber CSystemConfig::*Number = nullptr;
  SharedText CSystemConfig::*Text = nullptr;

  std::int32_t NumberDefault = 0;
  std::int32_t OfferedMin = 0;  // the range that an editor offers; loading checks none
  std::int32_t OfferedMax = 0;

  TextDefault DefaultText = TextDefault::EMPTY;
  std::size_t ReadLimit = 0;     // bytes
  std::size_t OfferedLimit = 0;  // characters that an editor offers; 0: not offered
};

// In the order of loading and saving.
std::span<const Setting> AllSettings();

// The row of a key, matched without regard to case, or none.
const Setting* FindSetting(std::string_view key);

// A setting's value as it stands in the file.
std::string SettingValue(const CSystemConfig& config, const Setting& setting);

}  // namespace velnor
