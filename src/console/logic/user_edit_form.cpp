#include "console/logic/user_edit_form.h"

#include <array>

#include "console/logic/dialog_prompts.h"
#include "console/logic/field_check.h"
#include "console/logic/row_search.h"
#include "core/system_config.h"

namespace velnor {
namespace {

// The checked fields in the order of checking, the account before them.
constexpr std::array CHECKED_KEYS = {"MaxMailNum",  "Username",    "Password",      "MailBoxSize",
                                     "NetDiskSize", "ForwardAddr", "MailFolderNum", "ResponseSubject"};

FieldFault ReadField(const ProfileField& field, const std::string& value, UserProfile& profile) {
  if (field.Text == nullptr) {
    return CheckNumber(field.Caption, value, 0, field.Max, profile.*field.Number);
  }
  profile.*field.Text = value;
  return CheckText(field.Caption, value, field.FieldLimit);
}

}  // namespace

UserEditForm::UserEditForm(Prompter& prompter, const EditRequest& request)
    : Domains(*g_SystemConfig.LocalDomains.Get()),
      ChosenDomain(FindRow(Domains, request.Domain)),
      Account(request.Account),
      prompter_(prompter),
      edit_mode_(!request.Account.empty()) {
  UserProfile profile = NewProfile();
  if (edit_mode_) {
    config_path_ = ProfilePath(request.Domain, request.Account).value_or("");
    profile = LoadProfile(request.Domain, request.Account);
  }
  for (const ProfileField& field : ProfileFields()) {
    const bool flag = field.Kind == ProfileKind::FLAG;
    values_.emplace(field.Key, flag ? TickValue(profile.*field.Number != 0) : ProfileValue(profile, field));
  }
}

std::optional<const char*> UserEditForm::Read(UserProfile& profile) {
  const auto refuse = [this](const char* key, const std::string& message) {
    ShowError(prompter_, message);
    return key;
  };
  // The name of an account that exists is not the editor's to judge.
  if (!edit_mode_) {
    if (const FieldFault fault = CheckAccountName("Account", Account)) return refuse(ACCOUNT_FIELD, *fault);
  }
  for (const char* key : CHECKED_KEYS) {
    if (const FieldFault fault = ReadField(*FindProfileField(key), Value(key), profile))
      return refuse(key, *fault);
  }
  for (const ProfileField& field : ProfileFields()) {
    if (field.Kind == ProfileKind::FLAG) profile.*field.Number = IsTicked(Value(field.Key)) ? 1 : 0;
  }
  return std::nullopt;
}

bool UserEditForm::Accept() {
  UserProfile profile;
  const std::optional<const char*> failed = Read(profile);
  FailedKey = failed.value_or("");
  if (failed) return false;
  if (edit_mode_) {
    SaveProfile(config_path_, profile);
  } else if (ChosenDomain) {
    CreateAccount(Domains.at(*ChosenDomain), Account, profile);
  }
  return true;
}

}  // namespace velnor
