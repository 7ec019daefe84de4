#include "console/logic/user_list_logic.h"

#include "console/logic/dialog_prompts.h"
#include "core/system_config.h"

namespace velnor {

UserListLogic::UserListLogic(Prompter& prompter)
    : Domains(*g_SystemConfig.LocalDomains.Get()), prompter_(prompter) {
  Reload();
}

void UserListLogic::ChooseDomain(std::size_t index) {
  Chosen = index;
  Reload();
}

void UserListLogic::Reload() {
  Rows.clear();
  if (!Domains.empty()) Rows = ListAccounts(Domains.at(Chosen));
}

bool UserListLogic::CheckDomain() {
  if (Domains.empty()) ShowInformation(prompter_, "No domain, please check!");
  return !Domains.empty();
}

std::optional<EditRequest> UserListLogic::New() {
  if (!CheckDomain()) return std::nullopt;
  return EditRequest{Domains.at(Chosen), ""};
}

std::optional<EditRequest> UserListLogic::Detail(std::optional<std::size_t> row) {
  if (!CheckDomain() || !row) return std::nullopt;
  return EditRequest{Domains.at(Chosen), Rows.at(*row).Account};
}

bool UserListLogic::Delete(std::optional<std::size_t> row) {
  if (!CheckDomain()) return false;
  if (!row) {
    ShowInformation(prompter_, "You have not choose record", PromptIcon::INFORMATION);
    return false;
  }
  if (!Confirm(prompter_, "Are you sure delete the record?")) return false;
  if (DeleteAccount(Domains.at(Chosen), Rows.at(*row).Account) == 1) return true;
  ShowInformation(prompter_, "You can not delete the User", PromptIcon::INFORMATION);
  return false;
}

}  // namespace velnor
