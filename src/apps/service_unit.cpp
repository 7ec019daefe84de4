#include "apps/service_unit.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "apps/service_template.h"

namespace velnor {
namespace {

// How a paragraph begins that a user's manager can't carry out.
constexpr std::string_view SYSTEM_PARAGRAPH = "# Only the machine's manager";

// A setting that would hide the server's own files from it where one of them lies in these places.
struct Shield {
  const char* Key;
  const char* Lowered;  // the value that leaves them visible
  std::span<const char* const> Places;
};

constexpr std::array HOMES = {"/home/", "/root/", "/run/user/"};
constexpr std::array TEMPORARY = {"/tmp/", "/var/tmp/"};
constexpr std::array SHIELDS = {Shield{"ProtectHome", "read-only", HOMES},
                                Shield{"PrivateTmp", "no", TEMPORARY}};

// A "%" would begin a name that the manager replaces.
std::string WithoutSpecifiers(std::string_view text) {
  std::string result;
  for (const char character : text) {
    result += character;
    if (character == '%') result += '%';
  }
  return result;
}

// One word of a list, blanks and all.
std::string Word(std::string_view text) {
  return '"' + WithoutSpecifiers(text) + '"';
}

std::string DropSystemParagraphs(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find("\n\n"), text.size());
    const std::size_t length = std::min(end + 2, text.size());
    if (!text.starts_with(SYSTEM_PARAGRAPH)) result += text.substr(0, length);
    text.remove_prefix(length);
  }
  return result;
}

// Gives a key, which stands in the text once or not at all, another value.
void SetKey(std::string& text, const std::string& key, const std::string& value) {
  const std::string start = "\n" + key + "=";
  const std::size_t place = text.find(start);
  if (place == std::string::npos) return;
  const std::size_t from = place + start.size();
  text.replace(from, text.find('\n', from) - from, value);
}

bool LiesIn(const std::string& path, const Shield& shield) {
  return std::any_of(shield.Places.begin(), shield.Places.end(),
                     [&path](const char* place) { return (path + '/').starts_with(place); });
}

}  // namespace

bool FitsUnit(const std::string& path) {
  const auto is_unfit = [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f || character == '\\' || character == '\'' || character == '"';
  };
  return path.starts_with('/') && !path.ends_with(' ') && std::none_of(path.begin(), path.end(), is_unfit);
}

std::string UnitText(const UnitSettings& settings) {
  std::string text(SERVICE_TEMPLATE);
  const bool is_user = settings.Scope == platform::ManagerScope::USER;
  if (is_user) text = DropSystemParagraphs(text);
  SetKey(text, "ExecStart", Word(settings.Program));
  SetKey(text, "WorkingDirectory", WithoutSpecifiers(settings.Directory));
  SetKey(text, "User", settings.Account);
  SetKey(text, "ReadWritePaths", Word("-" + settings.Directory) + " " + Word("-" + settings.MailRoot));
  for (const Shield& shield : SHIELDS) {
    if (LiesIn(settings.Program, shield) || LiesIn(settings.Directory, shield) ||
        LiesIn(settings.MailRoot, shield)) {
      SetKey(text, shield.Key, shield.Lowered);
    }
  }
  if (is_user) SetKey(text, "WantedBy", "default.target");
  return text;
}

}  // namespace velnor
