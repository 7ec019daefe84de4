// The mail list dialog: the lists, the members of one of them, and the commands on them.
//
// The object holds what the dialog shows. The window puts the two address fields, the priority and the
// selections in before a command and shows all of it after it. A change counts for delivery at once and is
// stored only by Apply. The members shown need not be those of the list that "List Addr" names. Console
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/logic/prompter.h"

namespace velnor {

struct MemberRow {
  std::string Address;
  std::int32_t Permission = 0;  // as stored: 0 may post and receive, any other value receives only

  const char* PriorityText() const { return Permission == 0 ? "RW" : "R"; }
};

enum class MailListField { NONE, LIST_ADDR, EMAIL_ADDR };

class MailListLogic {
 public:
  explicit MailListLogic(Prompter& prompter);

  // Selects a list: its members are shown and its name goes into "List Addr".
  void SelectList(std::size_t row);

  // A click on a member's row: its address and its priority go into the fields.
  void ClickMember(std::size_t row);

  void AddList();       // "Add"
  void DeleteList();    // "Delete"
  void AddMember();     // "Add to List"
  void RemoveMember();  // "Remove from List"
  void Apply();

  std::vector<std::string> Lists;
  std::optional<std::size_t> SelectedList;
  std::vector<MemberRow> Members;
  std::string ListAddr;
  std::string EmailAddr;
  std::optional<std::size_t> Priority;          // the combo's entry: 0 "Read&Write", 1 "Only Read"
  MailListField Refused = MailListField::NONE;  // the field whose text the last command refused

 private:
  // Forgets the last refusal and cuts both fields to what a record keeps of them.
  void BeginCommand();
  void Refuse(const std::string& message, MailListField field);

  Prompter& prompter_;
};

}  // namespace velnor
