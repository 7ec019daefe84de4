// The Domains page of the configuration: the list of the local domains, one text field, and the commands on
// them.
//
// The object holds what the page shows. The window puts the field's text and the selection in before a
// command, and shows Rows, Selected and Text, and puts the focus on the field if FocusText is set, after it.
// Each command that succeeds is stored at once. Console thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "console/logic/prompter.h"

namespace velnor {

class DomainsPageLogic {
 public:
  explicit DomainsPageLogic(Prompter& prompter);

  // Takes the rows from the configuration, which the other pages may have changed; then the selection is
  // dropped.
  void Refresh();

  // Selects a row, whose text goes into the field.
  void Select(std::size_t row);

  void Add();
  void Delete();  // the domain that the field names, with all its users and their mail
  void Update();  // renames the selected row's domain to what the field holds

  std::vector<std::string> Rows;
  std::optional<std::size_t> Selected;
  std::string Text;
  bool FocusText = false;  // the last command refused the field's text

 private:
  void Refuse(const std::string& message);

  // Whether the field holds a name that a new domain may have; if not, the message has been shown.
  bool CheckName();

  Prompter& prompter_;
};

}  // namespace velnor
