// LogLineQueue: finished log lines on their way to whoever shows them.
//
// Any thread puts lines in; the one thread that shows them takes them out in batches. The queue is bounded
// and putting never waits: where nobody takes lines out, the oldest fall away, so no service depends on a
// window or on a pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/lock.h"

namespace velnor {

struct LogLine {
  int Category = 0;
  std::string Text;  // with its CR LF
};

class LogLineQueue {
 public:
  static constexpr std::size_t CAPACITY = 65'536;  // lines

  // Called, on the putting thread, when a line enters an empty queue. It must not wait. Set before any line
  // is put.
  void SetNotifier(std::function<void()> notify) { notify_ = std::move(notify); }

  void Put(int category, std::string_view line);

  // Takes out at most `most` lines, oldest first. `dropped` is the number that fell away since the last call.
  std::vector<LogLine> Take(std::size_t most, std::uint64_t& dropped);

 private:
  std::function<void()> notify_;
  platform::CriticalSection ConsoleLock;  // held while one line goes in, or a batch out
  std::deque<LogLine> lines_ GUARDED_BY(ConsoleLock);
  std::uint64_t dropped_ GUARDED_BY(ConsoleLock) = 0;
};

}  // namespace velnor
