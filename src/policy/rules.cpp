// Rules: the operations of CSystemConfig on the patterns of forbidden peers and on their file.

#include <algorithm>
#include <unordered_set>

#include "core/system_config.h"
#include "core/text.h"
#include "platform/file_replacement.h"
#include "platform/text_stream.h"

namespace velnor {
namespace {

constexpr std::size_t LINE_LIMIT = 1023;  // bytes of a line taken at once

NameTable::const_iterator FindRule(const NameTable& rules, std::string_view pattern) {
  return std::find_if(rules.begin(), rules.end(),
                      [pattern](const std::string& rule) { return EqualsIgnoreCase(rule, pattern); });
}

// A pattern without the stars and dots at its ends: a plain prefix or suffix of an address.
std::string_view StripPattern(std::string_view pattern) {
  constexpr std::string_view STRIPPED = "*.";
  pattern = pattern.substr(std::min(pattern.find_first_not_of(STRIPPED), pattern.size()));
  return pattern.substr(0, pattern.find_last_not_of(STRIPPED) + 1);
}

}  // namespace

void CSystemConfig::LoadRules() {
  NameTable rules;
  std::unordered_set<std::string> known;
  platform::TextReader file;
  if (file.Open(RulesPath()) == 0) {
    std::string line;
    while (file.ReadLine(LINE_LIMIT, line)) {
      const std::string_view pattern = TrimBlanks(line.c_str());  // a NUL ends it
      if (known.insert(LowerCase(pattern)).second) rules.emplace_back(pattern);
    }
  }
  Rules.Set(std::move(rules));
}

void CSystemConfig::SaveRules() const {
  std::string text;
  for (const std::string& rule : *Rules.Get()) text += rule + '\n';
  platform::ReplaceTextFile(RulesPath(), text);
}

int CSystemConfig::AddRule(std::string_view pattern) {
  NameTable rules = *Rules.Get();
  if (FindRule(rules, pattern) != rules.end()) return 0;
  rules.emplace_back(pattern);
  Rules.Set(std::move(rules));
  return 1;
}

int CSystemConfig::DeleteRule(std::string_view pattern) {
  NameTable rules = *Rules.Get();
  const auto found = FindRule(rules, pattern);
  if (found == rules.end()) return 0;
  rules.erase(found);
  Rules.Set(std::move(rules));
  return 1;
}

int CSystemConfig::IsBlockedPeer(std::string_view address) const {
  const auto rules = Rules.Get();
  return std::any_of(rules->begin(), rules->end(),
                     [address](std::string_view rule) {
                       const std::string_view pattern = StripPattern(rule);
                       if (pattern.size() > address.size()) return false;
                       return EqualsIgnoreCase(address.substr(0, pattern.size()), pattern) ||
                              EqualsIgnoreCase(address.substr(address.size() - pattern.size()), pattern);
                     })
             ? 1
             : 0;
}

}  // namespace velnor
