#include "control/key_values.h"

#include <algorithm>

namespace velnor {

std::optional<KeyValues> ParseKeyValues(const std::vector<std::string>& words) {
  KeyValues pairs;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::size_t equals = words[i].find('=');
    if (equals != std::string::npos) {
      pairs.emplace_back(words[i].substr(0, equals), words[i].substr(equals + 1));
    } else if (i + 1 < words.size()) {
      pairs.emplace_back(words[i], words[i + 1]);
      ++i;
    } else {
      return std::nullopt;
    }
  }
  return pairs;
}

FieldFault CheckTick(std::string_view caption, std::string_view value) {
  std::int32_t ticked = 0;
  return CheckNumber(caption, value, 0, 1, ticked);
}

FieldFault CheckPlainText(std::string_view caption, std::string_view value) {
  const bool plain = std::none_of(value.begin(), value.end(),
                                  [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
  if (plain) return std::nullopt;
  return "\"" + std::string(caption) + "\" accepts a text without control characters.";
}

}  // namespace velnor
