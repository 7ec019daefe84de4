// The user list: the accounts of one domain, and the commands New, Detail and Delete.
//
// The object holds what the window shows and says what it does: which account to open in the editor, which
// row to remove. Rows are numbered as they were read; the window may show them in another order. Console
// thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "console/logic/prompter.h"
#include "core/accounts.h"

namespace velnor {

// What the editor is to open: an empty account means a new one.
struct EditRequest {
  std::string Domain;
  std::string Account;
};

class UserListLogic {
 public:
  // Takes the local domains, chooses the first and reads its accounts.
  explicit UserListLogic(Prompter& prompter);

  void ChooseDomain(std::size_t index);

  // Reads the chosen domain's accounts anew: after the editor ended with OK.
  void Reload();

  // The commands. `row` is the number of the first selected row. New and Detail give what to open, or
  // nothing; Delete says whether the row is to go.
  std::optional<EditRequest> New();
  std::optional<EditRequest> Detail(std::optional<std::size_t> row);
  bool Delete(std::optional<std::size_t> row);

  std::vector<std::string> Domains;
  std::size_t Chosen = 0;  // counts only if there is a domain
  std::vector<AccountRow> Rows;

 private:
  // Whether there is a domain; if not, the message has been shown.
  bool CheckDomain();

  Prompter& prompter_;
};

}  // namespace velnor
