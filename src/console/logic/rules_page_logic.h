// The Rules page of the configuration: the list of the patterns of forbidden peers, one text field, and the
// commands on them.
//
// The object holds what the page shows, as that of the Domains page does. Each command that succeeds is
// stored at once and counts for the next connection. Console thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "console/logic/prompter.h"

namespace velnor {

inline constexpr std::size_t RULE_LIMIT = 128;  // bytes that the field accepts

class RulesPageLogic {
 public:
  explicit RulesPageLogic(Prompter& prompter);

  // Selects a row, whose text goes into the field.
  void Select(std::size_t row);

  void Add();
  void Delete();  // the rule that the field holds; the question comes first

  std::vector<std::string> Rows;
  std::optional<std::size_t> Selected;
  std::string Text;
  bool FocusText = false;  // the last command refused the field's text

 private:
  void Refuse(const std::string& message);

  Prompter& prompter_;
};

}  // namespace velnor
