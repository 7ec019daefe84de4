// Values that one thread changes while others read them.
//
// Published<T> holds a table that is never edited in place: a reader takes the table that stands and keeps it
// whole for as long as it likes, the writer makes a new one aside and puts it in the place of the old.
// SharedText holds a text of limited length that is copied out. Each guards itself by a lock of a few
// instructions.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/lock.h"

namespace velnor {

template <typename T>
class Published {
 public:
  // The table as it stands; never none. Any thread.
  std::shared_ptr<const T> Get() const {
    platform::SectionGuard guard(section_);
    return value_;
  }

  // Puts a new table in place. One writer at a time.
  void Set(T value) {
    auto next = std::make_shared<const T>(std::move(value));
    platform::SectionGuard guard(section_);
    value_.swap(next);
  }

 private:
  mutable platform::CriticalSection section_;
  std::shared_ptr<const T> value_ GUARDED_BY(section_) = std::make_shared<const T>();
};

class SharedText {
 public:
  explicit SharedText(std::size_t capacity) : capacity_(capacity) {}

  // Any thread.
  std::string Get() const {
    platform::SectionGuard guard(section_);
    return text_;
  }

  // Cuts at the capacity, in bytes.
  void Set(std::string_view text) {
    std::string next(text.substr(0, capacity_));
    platform::SectionGuard guard(section_);
    text_.swap(next);
  }

 private:
  const std::size_t capacity_;
  mutable platform::CriticalSection section_;
  std::string text_ GUARDED_BY(section_);
};

}  // namespace velnor
