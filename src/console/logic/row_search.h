// Finding a row of a dialog's list by its text. No state; any thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/text.h"

namespace velnor {

// The first row that holds the text, compared whole and without regard to case, or none.
inline std::optional<std::size_t> FindRow(const std::vector<std::string>& rows, std::string_view text) {
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [text](const std::string& row) { return EqualsIgnoreCase(row, text); });
  if (found == rows.end()) return std::nullopt;
  return static_cast<std::size_t>(found - rows.begin());
}

// Where the selection is after a row was removed: nowhere if that row had it, else on the row that had it.
inline std::optional<std::size_t> SelectionAfterRemoval(std::optional<std::size_t> selected,
                                                        std::size_t removed) {
  if (!selected || *selected == removed) return std::nullopt;
  return *selected > removed ? *selected - 1 : *selected;
}

}  // namespace velnor
