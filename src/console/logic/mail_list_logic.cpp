#include "console/logic/mail_list_logic.h"

#include <algorithm>

#include "console/logic/dialog_prompts.h"
#include "console/logic/field_check.h"
#include "console/logic/row_search.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {
namespace {

// A line of maillist.ini that begins with one of these is no entry.
constexpr std::string_view NO_ENTRY_START = "#;[";

MemberRow RowOf(const MailListMember& member) {
  return {std::string(member.Address.View()), member.Permission};
}

}  // namespace

MailListLogic::MailListLogic(Prompter& prompter) : prompter_(prompter) {
  for (const MailList& list : *g_SystemConfig.MailLists.Get()) Lists.emplace_back(list.Name.View());
}

void MailListLogic::Refuse(const std::string& message, MailListField field) {
  ShowError(prompter_, message);
  Refused = field;
}

void MailListLogic::BeginCommand() {
  Refused = MailListField::NONE;
  ListAddr = decltype(MailList::Name)(ListAddr).View();
  EmailAddr = decltype(MailListMember::Address)(EmailAddr).View();
}

void MailListLogic::SelectList(std::size_t row) {
  SelectedList = row;
  ListAddr = Lists.at(row);
  EmailAddr.clear();
  Members.clear();
  if (const auto list = g_SystemConfig.FindMailList(ListAddr)) {
    std::transform(list->Members.begin(), list->Members.end(), std::back_inserter(Members), RowOf);
  }
}

void MailListLogic::ClickMember(std::size_t row) {
  const MemberRow& member = Members.at(row);
  EmailAddr = member.Address;
  Priority.reset();
  if (member.Permission == 0 || member.Permission == 1)
    Priority = static_cast<std::size_t>(member.Permission);
}

void MailListLogic::AddList() {
  BeginCommand();
  if (FindRow(Lists, ListAddr)) return Refuse("There is the same maillist", MailListField::LIST_ADDR);
  if (const FieldFault fault = CheckLineEntry("List Addr", ListAddr, NO_ENTRY_START)) {
    return Refuse(*fault, MailListField::LIST_ADDR);
  }
  if (g_SystemConfig.AddMailList(ListAddr) == 0) return Refuse("Operation failed", MailListField::LIST_ADDR);
  Lists.push_back(ListAddr);
  ListAddr.clear();
}

void MailListLogic::DeleteList() {
  BeginCommand();
  const std::optional<std::size_t> row = FindRow(Lists, ListAddr);
  if (ListAddr.empty() || !row) return Refuse("No the record", MailListField::LIST_ADDR);
  if (!Confirm(prompter_, "Are you sure delete the maillist?")) return;
  if (g_SystemConfig.DeleteMailList(ListAddr) == 0) return;
  Lists.erase(Lists.begin() + static_cast<std::ptrdiff_t>(*row));
  SelectedList = SelectionAfterRemoval(SelectedList, *row);
}

void MailListLogic::AddMember() {
  BeginCommand();
  if (ListAddr.empty() || EmailAddr.empty()) return;
  if (const FieldFault fault = CheckLineEntry("Email Addr", EmailAddr, NO_ENTRY_START)) {
    return Refuse(*fault, MailListField::EMAIL_ADDR);
  }
  const auto permission = static_cast<std::int32_t>(Priority.value_or(0));
  if (g_SystemConfig.AddListMember(ListAddr, EmailAddr, permission) == 0) {
    return Refuse("There is the same email addr", MailListField::EMAIL_ADDR);
  }
  Members.push_back(RowOf(g_SystemConfig.FindMailList(ListAddr)->Members.back()));
  EmailAddr.clear();
}

void MailListLogic::RemoveMember() {
  BeginCommand();
  if (ListAddr.empty() || EmailAddr.empty()) return;
  if (g_SystemConfig.RemoveListMember(ListAddr, EmailAddr) == 0) {
    return Refuse("There is not the email addr", MailListField::EMAIL_ADDR);
  }
  const auto row = std::find_if(Members.begin(), Members.end(), [this](const MemberRow& member) {
    return EqualsIgnoreCase(member.Address, EmailAddr);
  });
  if (row != Members.end()) Members.erase(row);
}

void MailListLogic::Apply() {
  g_SystemConfig.SaveMailLists();
}

}  // namespace velnor
