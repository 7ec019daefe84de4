// FixedText<N>: text of at most N bytes held in place, always NUL-ended.
//
// Trivially copyable and zeroable, so that a record made of it can be cleared and copied as a whole. A limit
// stands once, in the declaration: every setter cuts there. The text ends at its first NUL, as text from a
// peer does. Not shared between threads without a lock of the owner's.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace platform {

template <std::size_t N>
class FixedText {
 public:
  static constexpr std::size_t CAPACITY = N;

  constexpr FixedText() = default;
  explicit FixedText(std::string_view text) { Set(text); }

  // Replaces the text; what goes beyond N bytes, or stands behind a NUL, is cut off. `text` may lie in this
  // object.
  void Set(std::string_view text) {
    const std::size_t length = std::min(text.substr(0, text.find('\0')).size(), N);
    if (length > 0) std::memmove(text_, text.data(), length);
    std::memset(text_ + length, 0, sizeof text_ - length);
  }

  // Adds to the text under the same rule of cutting.
  void Append(std::string_view text) {
    const std::size_t used = size();
    const std::size_t length = std::min(text.substr(0, text.find('\0')).size(), N - used);
    if (length > 0) std::memmove(text_ + used, text.data(), length);
    text_[used + length] = '\0';
  }

  // Replaces the text by a formatted one, cut at N bytes. No argument may point into this object.
  [[gnu::format(printf, 2, 3)]] void Format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    FormatList(format, arguments);
    va_end(arguments);
  }
  [[gnu::format(printf, 2, 0)]] void FormatList(const char* format, std::va_list arguments) {
    if (std::vsnprintf(text_, sizeof text_, format, arguments) < 0) Clear();
  }

  void Clear() { std::memset(text_, 0, sizeof text_); }

  std::size_t size() const { return strnlen(text_, N); }
  bool empty() const { return text_[0] == '\0'; }
  const char* c_str() const { return text_; }
  std::string_view View() const { return {text_, size()}; }
  operator std::string_view() const { return View(); }

 private:
  char text_[N + 1] = {};
};

}  // namespace platform
