// Small operations on text: trimming, comparing without regard to ASCII case, splitting an address, reading a
// number, and making a peer's text fit for the log. No state; any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/fixed_text.h"

namespace velnor {

using platform::FixedText;

// Without the blanks (blank, tab, CR and LF) at the start, at the end, and at both ends.
std::string_view TrimLeftBlanks(std::string_view text);
std::string_view TrimRightBlanks(std::string_view text);
std::string_view TrimBlanks(std::string_view text);

// Without any number of one character at the start, and at the end.
std::string_view TrimLeftChar(std::string_view text, char character);
std::string_view TrimRightChar(std::string_view text, char character);

bool EqualsIgnoreCase(std::string_view a, std::string_view b);
bool StartsWithIgnoreCase(std::string_view text, std::string_view start);

// The text with its ASCII letters small: equal for texts that differ in case alone.
std::string LowerCase(std::string_view text);

// The text behind the first `count` bytes, empty if it has no more than these.
std::string_view TextFrom(std::string_view text, std::size_t count);

// The decimal number at the start of a text: blanks, a sign, digits up to the first other character. 0 with
// no digits. What leaves the 32-bit range comes out as its nearest end.
std::int32_t LeadingNumber(std::string_view text);

// The text with every control character but tab as "?", for a log line.
std::string LogSafe(std::string_view text);

// Splits an address at its first at sign. 1 with both parts set, each cut at the capacity of its place; 0
// when there is no at sign, both places then left alone.
template <std::size_t UserSize, std::size_t DomainSize>
int SplitAddress(std::string_view address, FixedText<UserSize>& user, FixedText<DomainSize>& domain) {
  const std::size_t at = address.find('@');
  if (at == std::string_view::npos) return 0;
  const FixedText<DomainSize> behind(address.substr(at + 1));
  user.Set(address.substr(0, at));
  domain = behind;
  return 1;
}

// The places of a split address: in sessions, and in the delivery agent.
using SessionUser = FixedText<99>;
using SessionDomain = FixedText<19>;
using AgentUser = FixedText<100>;
using AgentDomain = FixedText<49>;

// A text of printf form, however long.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);

}  // namespace velnor
