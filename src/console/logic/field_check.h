// What the fields of the dialogs accept. A check gives the message that tells it, or nothing if the text is
// accepted. No state; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velnor {

using FieldFault = std::optional<std::string>;

// A tick box among fields that are texts.
inline std::string TickValue(bool ticked) {
  return std::string(1, ticked ? '1' : '0');
}
inline bool IsTicked(std::string_view value) {
  return value != "0";
}

// A text of at most `limit` bytes, as the files and the services count it.
FieldFault CheckText(std::string_view caption, std::string_view text, std::size_t limit);

// A whole number in decimal digits, blanks around it aside, from `min` to `max`; it is put into `number` if
// accepted.
FieldFault CheckNumber(std::string_view caption, std::string_view text, std::int32_t min, std::int32_t max,
                       std::int32_t& number);

// The name of a new account or domain, as IsNewAccountName and IsNewDomainName accept it.
FieldFault CheckAccountName(std::string_view caption, std::string_view name);
FieldFault CheckDomainName(std::string_view caption, std::string_view name);

// A text that stands on a line of a file: not empty, without blanks and control characters, and not beginning
// with one of the characters of `barred`, which would mean something else there.
FieldFault CheckLineEntry(std::string_view caption, std::string_view text, std::string_view barred = "");

}  // namespace velnor
