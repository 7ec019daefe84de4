#include "control/mail_list_check.h"

#include <cstdint>
#include <memory>
#include <unordered_set>

#include "core/system_config.h"
#include "core/text.h"
#include "platform/text_stream.h"

namespace velnor {
namespace {

constexpr std::size_t LINE_LIMIT = 1023;
constexpr std::string_view NAME_SECTION = "[MailList]";

using SeenNames = std::unordered_set<std::string>;

bool IsFirst(SeenNames& seen, std::string_view name) {
  return seen.insert(LowerCase(name)).second;
}

// Follows the file's sections. What a line should have become is looked up in what was loaded, so the rules
// of loading stand in the loader alone.
class LineCheck {
 public:
  // What is wrong with a line, or nothing.
  std::string Check(std::string_view line) {
    if (line.empty() || line.starts_with('#') || line.starts_with(';')) return {};
    if (line.starts_with('[')) return Header(line);
    if (in_names_) return Name(line);
    return list_ == nullptr ? "\"" + std::string(line) + "\" stands in no section of a list" : Member(line);
  }

 private:
  std::string Header(std::string_view line) {
    in_names_ = EqualsIgnoreCase(line, NAME_SECTION);
    list_.reset();
    if (in_names_) return {};
    const std::string_view name = line.substr(1, line.find(']') - 1);
    list_ = line.ends_with(']') ? g_SystemConfig.FindMailList(name) : nullptr;
    if (list_ == nullptr)
      return "the list of the section " + std::string(line) + " is not named in [MailList]";
    if (IsFirst(sections_, name)) members_.clear();
    return {};
  }

  std::string Name(std::string_view line) {
    const std::string name(line);
    if (g_SystemConfig.FindMailList(line) == nullptr) return "\"" + name + "\" is no name of a list";
    return IsFirst(names_, line) ? "" : "the list \"" + name + "\" is named twice";
  }

  std::string Member(std::string_view line) {
    const std::string_view address = line.substr(0, line.find_first_of(" \t"));
    const std::string_view number = TrimLeftBlanks(TextFrom(line, address.size()));
    const std::string shown(address);
    const bool has_number = number.find_first_of("0123456789") <= 1;
    if (!has_number) return "the member \"" + shown + "\" has no permission, 0 or 1";
    if (!g_SystemConfig.FindListMember(list_->Name, address))
      return "\"" + shown + "\" is no member's address";
    return IsFirst(members_, address) ? "" : "the member \"" + shown + "\" is named twice";
  }

  bool in_names_ = false;
  std::shared_ptr<const MailList> list_;
  SeenNames names_;
  SeenNames sections_;
  SeenNames members_;
};

}  // namespace

std::vector<std::string> DroppedMailListLines(const std::string& path) {
  std::vector<std::string> dropped;
  platform::TextReader file;
  if (file.Open(path) != 0) return dropped;
  LineCheck check;
  std::string line;
  for (std::int32_t number = 1; file.ReadLine(LINE_LIMIT, line); ++number) {
    const std::string fault = check.Check(TrimBlanks(line.c_str()));
    if (!fault.empty()) dropped.push_back("line " + std::to_string(number) + ": " + fault);
  }
  return dropped;
}

}  // namespace velnor
