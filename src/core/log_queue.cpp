#include "core/log_queue.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velnor {

void LogLineQueue::Put(int category, std::string_view line) {
  LogLine entry{category, std::string(line)};
  bool was_empty = false;
  {
    platform::SectionGuard guard(ConsoleLock);
    was_empty = lines_.empty();
    if (lines_.size() == CAPACITY) {
      lines_.pop_front();
      ++dropped_;
    }
    lines_.push_back(std::move(entry));
  }
  if (was_empty && notify_) notify_();
}

std::vector<LogLine> LogLineQueue::Take(std::size_t most, std::uint64_t& dropped) {
  std::vector<LogLine> taken;
  platform::SectionGuard guard(ConsoleLock);
  const auto count = static_cast<std::ptrdiff_t>(std::min(most, lines_.size()));
  taken.assign(std::make_move_iterator(lines_.begin()), std::make_move_iterator(lines_.begin() + count));
  lines_.erase(lines_.begin(), lines_.begin() + count);
  dropped = std::exchange(dropped_, 0);
  return taken;
}

}  // namespace velnor
