#include "console/logic/field_check.h"

#include <algorithm>
#include <charconv>

#include "core/accounts.h"
#include "core/text.h"

namespace velnor {
namespace {

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string Accepts(std::string_view caption, const std::string& what) {
  return "\"" + std::string(caption) + "\" accepts " + what + ".";
}

std::string NameMessage(std::string_view caption, std::size_t limit, const std::string& without) {
  return Accepts(caption,
                 "1 to " + std::to_string(limit) + " characters, without blanks and any of " + without);
}

}  // namespace

FieldFault CheckText(std::string_view caption, std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return std::nullopt;
  const std::string most = "at most " + std::to_string(limit) + " characters";
  return Accepts(caption, IsAscii(text) ? most : most + ", and one outside ASCII counts as 2 to 4");
}

FieldFault CheckNumber(std::string_view caption, std::string_view text, std::int32_t min, std::int32_t max,
                       std::int32_t& number) {
  const std::string_view digits = TrimBlanks(text);
  std::int32_t read = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), read);
  if (error == std::errc() && end == digits.data() + digits.size() && read >= min && read <= max &&
      digits.front() != '-') {
    number = read;
    return std::nullopt;
  }
  return Accepts(caption, "a whole number from " + std::to_string(min) + " to " + std::to_string(max));
}

FieldFault CheckAccountName(std::string_view caption, std::string_view name) {
  if (IsNewAccountName(name)) return std::nullopt;
  return NameMessage(caption, ACCOUNT_NAME_LIMIT, "/ \\ @ * ?");
}

FieldFault CheckDomainName(std::string_view caption, std::string_view name) {
  if (IsNewDomainName(name)) return std::nullopt;
  return NameMessage(caption, DOMAIN_NAME_LIMIT, "/ \\ @ * ? |, and not the name \"send\"");
}

FieldFault CheckLineEntry(std::string_view caption, std::string_view text, std::string_view barred) {
  const bool unbroken = std::all_of(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) > ' ' && c != '\x7f'; });
  if (!text.empty() && unbroken && barred.find(text.front()) == std::string_view::npos) return std::nullopt;
  const std::string what = "a text without blanks";
  return Accepts(caption, barred.empty() ? what : what + " that begins with none of " + std::string(barred));
}

}  // namespace velnor
