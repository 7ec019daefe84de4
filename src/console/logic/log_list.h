// LogList: the lines of the console's log list and their rules. A colour for each category, the pause, and
// the limit at which the whole list goes.
//
// Adding a line costs the same however many there are. Console thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "console/logic/log_colour.h"

namespace velnor {

struct ListedLine {
  std::string Text;  // without a line end
  Colour TextColour = PLATFORM_TEXT;
};

class LogList {
 public:
  static constexpr std::size_t LIMIT = 65'535;  // lines; with so many or more, a tick empties the list

  // Takes a finished line, with or without its CR LF, as the new last one. While paused it is lost.
  void AddLogLine(int category, std::string_view text);

  // Empties the list. A pause goes on.
  void Clear();

  // The tick's look at the limit.
  void Tick();

  void SetPaused(bool paused) { LogPaused = paused ? 1 : 0; }
  bool IsPaused() const { return LogPaused != 0; }

  std::size_t Count() const { return lines_.size(); }
  const ListedLine& Line(std::size_t index) const { return lines_[index]; }

  // The most bytes in a line since the list was last emptied.
  std::size_t LongestLine() const { return longest_; }

  // Grows by one each time the list is emptied, so that a reader can tell growth from a new beginning.
  std::uint64_t Generation() const { return generation_; }

 private:
  std::deque<ListedLine> lines_;
  std::size_t longest_ = 0;
  std::uint64_t generation_ = 0;
  std::int32_t LogPaused = 0;
};

}  // namespace velnor
