#include "core/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace velnor {
namespace {

constexpr std::string_view BLANKS = " \t\r\n";

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

std::string_view TrimLeftBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(BLANKS), text.size()));
}

std::string_view TrimRightBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(BLANKS) + 1);
}

std::string_view TrimBlanks(std::string_view text) {
  return TrimRightBlanks(TrimLeftBlanks(text));
}

std::string_view TrimLeftChar(std::string_view text, char character) {
  return text.substr(std::min(text.find_first_not_of(character), text.size()));
}

std::string_view TrimRightChar(std::string_view text, char character) {
  return text.substr(0, text.find_last_not_of(character) + 1);
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

bool StartsWithIgnoreCase(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && EqualsIgnoreCase(text.substr(0, start.size()), start);
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
  return lower;
}

std::string_view TextFrom(std::string_view text, std::size_t count) {
  return text.substr(std::min(count, text.size()));
}

std::int32_t LeadingNumber(std::string_view text) {
  text = text.substr(std::min(text.find_first_not_of(" \t\r\n\v\f"), text.size()));
  bool negative = false;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  std::int64_t number = 0;
  for (const char c : text) {
    if (!IsDigit(c)) break;
    number = std::min<std::int64_t>(number * 10 + (c - '0'), std::int64_t{INT32_MAX} + 1);
  }
  return static_cast<std::int32_t>(negative ? -number : std::min<std::int64_t>(number, INT32_MAX));
}

std::string LogSafe(std::string_view text) {
  std::string safe(text);
  std::replace_if(
      safe.begin(), safe.end(),
      [](char c) { return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7f'; }, '?');
  return safe;
}

std::string FormatText(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (!text.empty()) std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  va_end(arguments);
  return text;
}

}  // namespace velnor
