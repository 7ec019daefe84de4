// Mail lists: the operations of CSystemConfig on the lists and on their file.
//
// maillist.ini names the lists in a section "[MailList]" and gives each one a section of its own with a line
// "address permission" for each member. It is read and written as a text stream by this file alone.

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "core/system_config.h"
#include "core/text.h"
#include "platform/file_replacement.h"
#include "platform/text_stream.h"

namespace velnor {
namespace {

constexpr std::size_t LINE_LIMIT = 1023;  // bytes of a line taken at once
constexpr std::string_view NAME_SECTION = "[MailList]";

auto FindList(auto& lists, std::string_view name) {
  return std::find_if(lists.begin(), lists.end(),
                      [name](const MailList& list) { return EqualsIgnoreCase(list.Name, name); });
}

auto FindMember(auto& members, std::string_view address) {
  return std::find_if(members.begin(), members.end(), [address](const MailListMember& member) {
    return EqualsIgnoreCase(member.Address, address);
  });
}

bool IsComment(std::string_view line) {
  return line.starts_with('#') || line.starts_with(';');
}

bool HasEntry(std::string_view line) {
  return line.size() >= 3 && line.find('@') != std::string_view::npos;
}

// Walks the file from its start and calls `header` with each line that opens a section, `entry` with each
// line that may hold an entry. A false from `header` ends the walk.
void WalkFile(platform::TextReader& file, const auto& header, const auto& entry) {
  file.Seek(0);
  std::string line;
  while (file.ReadLine(LINE_LIMIT, line)) {
    const std::string_view text = TrimBlanks(line.c_str());  // a NUL ends it
    if (IsComment(text)) continue;
    if (text.starts_with('[')) {
      if (!header(text)) return;
    } else if (HasEntry(text)) {
      entry(text);
    }
  }
}

// Reads "address permission"; what follows the number does not count. False if either is missing.
bool ScanMember(std::string_view line, MailListMember& member) {
  const std::size_t blank = std::min(line.find_first_of(" \t\r\n\v\f"), line.size());
  const std::string_view number = TrimLeftBlanks(line.substr(blank));
  const std::string_view digits = number.substr(number.starts_with('-') || number.starts_with('+') ? 1 : 0);
  if (digits.empty() || digits.front() < '0' || digits.front() > '9') return false;
  member.Address.Set(line.substr(0, blank));
  member.Permission = LeadingNumber(number);
  return true;
}

// The lists that the name section holds, each name once.
MailListTable LoadNames(platform::TextReader& file) {
  MailListTable lists;
  std::unordered_set<std::string> names;
  bool open = false;
  WalkFile(
      file,
      [&](std::string_view text) {
        const bool is_name_section = EqualsIgnoreCase(text, NAME_SECTION);
        if (open && !is_name_section) return false;
        open = is_name_section;
        return true;
      },
      [&](std::string_view text) {
        MailList list;
        list.Name.Set(text);
        if (open && names.insert(LowerCase(list.Name)).second) lists.push_back(std::move(list));
      });
  return lists;
}

// Fills the lists' members in, from the first section of each list; each address once in a list.
void LoadMembers(platform::TextReader& file, MailListTable& lists) {
  std::unordered_map<std::string, MailList*> waiting;
  for (MailList& list : lists) waiting.emplace("[" + LowerCase(list.Name) + "]", &list);
  MailList* current = nullptr;
  std::string current_header;  // met again, it goes on with the list that is open
  std::unordered_set<std::string> addresses;
  WalkFile(
      file,
      [&](std::string_view text) {
        std::string header = LowerCase(text);
        if (header == current_header) return true;
        const auto found = waiting.extract(header);
        current_header = std::move(header);
        current = found.empty() ? nullptr : found.mapped();
        addresses.clear();
        return true;
      },
      [&](std::string_view text) {
        MailListMember member;
        if (current == nullptr || !ScanMember(text, member)) return;
        if (addresses.insert(LowerCase(member.Address)).second) current->Members.push_back(member);
      });
}

}  // namespace

void CSystemConfig::LoadMailLists() {
  platform::TextReader file;
  if (file.Open(MailListPath.Get()) != 0) {
    MailLists.Set({});
    return;
  }
  MailListTable lists = LoadNames(file);
  LoadMembers(file, lists);
  MailLists.Set(std::move(lists));
}

void CSystemConfig::SaveMailLists() const {
  const auto lists = MailLists.Get();
  std::string text = std::string(NAME_SECTION) + "\r\n";
  for (const MailList& list : *lists) text += FormatText("%s\r\n", list.Name.c_str());
  text += "\r\n";
  for (const MailList& list : *lists) {
    text += FormatText("[%s]\r\n", list.Name.c_str());
    for (const MailListMember& member : list.Members) {
      text += FormatText("%s %d\r\n", member.Address.c_str(), member.Permission);
    }
    text += "\r\n";
  }
  platform::ReplaceTextFile(MailListPath.Get(), text);
}

int CSystemConfig::AddMailList(std::string_view name) {
  MailListTable lists = *MailLists.Get();
  MailList list;
  list.Name.Set(name);
  if (FindList(lists, list.Name) != lists.end()) return 0;
  lists.push_back(std::move(list));
  MailLists.Set(std::move(lists));
  return 1;
}

int CSystemConfig::DeleteMailList(std::string_view name) {
  MailListTable lists = *MailLists.Get();
  const auto list = FindList(lists, name);
  if (list == lists.end()) return 0;
  lists.erase(list);
  MailLists.Set(std::move(lists));
  return 1;
}

int CSystemConfig::AddListMember(std::string_view name, std::string_view address, std::int32_t permission) {
  MailListTable lists = *MailLists.Get();
  const auto list = FindList(lists, name);
  if (list == lists.end()) return 0;
  MailListMember member;
  member.Address.Set(address);
  member.Permission = permission;
  if (FindMember(list->Members, member.Address) != list->Members.end()) return 0;
  list->Members.push_back(member);
  MailLists.Set(std::move(lists));
  return 1;
}

int CSystemConfig::RemoveListMember(std::string_view name, std::string_view address) {
  MailListTable lists = *MailLists.Get();
  const auto list = FindList(lists, name);
  if (list == lists.end()) return 0;
  const auto member = FindMember(list->Members, address);
  if (member == list->Members.end()) return 0;
  list->Members.erase(member);
  MailLists.Set(std::move(lists));
  return 1;
}

std::shared_ptr<const MailList> CSystemConfig::FindMailList(std::string_view name) const {
  const auto lists = MailLists.Get();
  const auto list = FindList(*lists, name);
  // The list keeps its whole table alive.
  return list == lists->end() ? nullptr : std::shared_ptr<const MailList>(lists, &*list);
}

std::optional<MailListMember> CSystemConfig::FindListMember(std::string_view name,
                                                            std::string_view address) const {
  const auto list = FindMailList(name);
  if (list == nullptr) return std::nullopt;
  const auto member = FindMember(list->Members, address);
  if (member == list->Members.end()) return std::nullopt;
  return *member;
}

}  // namespace velnor
