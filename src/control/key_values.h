// Settings as they stand on a command line: "KEY VALUE" or "KEY=VALUE", any number of them. No state; any
// thread.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/logic/field_check.h"

namespace velnor {

using KeyValues = std::vector<std::pair<std::string, std::string>>;

// The pairs in their order, or none if the last key has no value.
std::optional<KeyValues> ParseKeyValues(const std::vector<std::string>& words);

// What a value must be besides what its form asks: a tick box is 0 or 1, and no value holds a control
// character, which the file would not give back.
FieldFault CheckTick(std::string_view caption, std::string_view value);
FieldFault CheckPlainText(std::string_view caption, std::string_view value);

}  // namespace velnor
