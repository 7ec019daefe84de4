#include "console/logic/log_list.h"

#include <algorithm>

#include "core/text.h"

namespace velnor {

void LogList::AddLogLine(int category, std::string_view text) {
  if (IsPaused()) return;
  const std::string_view line = TrimRightChar(TrimRightChar(text, '\n'), '\r');
  lines_.push_back({std::string(line), CategoryColour(category)});
  longest_ = std::max(longest_, line.size());
}

void LogList::Clear() {
  lines_.clear();
  lines_.shrink_to_fit();
  longest_ = 0;
  ++generation_;
}

void LogList::Tick() {
  if (lines_.size() >= LIMIT) Clear();
}

}  // namespace velnor
