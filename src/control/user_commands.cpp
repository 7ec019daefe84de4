#include <algorithm>

#include "console/logic/row_search.h"
#include "console/logic/user_edit_form.h"
#include "control/commands.h"
#include "control/local_address.h"
#include "core/mail_store.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/file_rights.h"

namespace velnor {
namespace {

constexpr std::string_view PASSWORD_KEY = "Password";

// The password, typed twice by a person, or the next line of the input. None, with the words shown, if there
// is none.
std::optional<std::string> ReadPassword(Control& control) {
  Terminal& screen = control.Around.Screen;
  const std::optional<std::string> password = screen.ReadSecret("Password: ");
  if (!password || password->empty()) {
    control.Refuse("No password was given.");
    return std::nullopt;
  }
  if (screen.IsInteractive() && screen.ReadSecret("The same again: ") != password) {
    control.Refuse("The two passwords differ.");
    return std::nullopt;
  }
  if (const FieldFault fault = CheckPlainText(PASSWORD_KEY, *password)) {
    control.Refuse(*fault);
    return std::nullopt;
  }
  if (password->size() > LOGON_PASSWORD_LIMIT) {
    control.Note("A log-on takes no password of more than " + std::to_string(LOGON_PASSWORD_LIMIT) +
                 " characters.");
  }
  return password;
}

// Puts settings into the form's fields. False, with the words shown, if one is none.
bool FillForm(Control& control, UserEditForm& form, const KeyValues& settings) {
  for (const auto& [key, value] : settings) {
    const ProfileField* const field = FindProfileField(key);
    if (field == nullptr) return control.Refuse("There is no setting \"" + key + "\".") == DONE;
    if (field->Key == PASSWORD_KEY) {
      return control.Refuse("A password is not taken from the command line, where others can see it.") ==
             DONE;
    }
    const FieldFault fault = field->Kind == ProfileKind::FLAG ? CheckTick(field->Caption, value)
                                                              : CheckPlainText(field->Caption, value);
    if (fault) return control.Refuse(*fault) == DONE;
    form.Value(field->Key) = TrimBlanks(value);
  }
  return true;
}

// OK in the form, and whether the profile then is what the form holds.
int AcceptForm(Control& control, UserEditForm& form, const EditRequest& place, const NewFiles& made) {
  if (!form.Accept()) return REFUSED;
  made.HandOver();
  const UserProfile stored = LoadProfile(place.Domain, place.Account);
  for (const ProfileField& field : ProfileFields()) {
    const std::string& meant = form.Value(field.Key);
    const bool same =
        field.Text != nullptr ? stored.*field.Text == meant : stored.*field.Number == LeadingNumber(meant);
    if (!same) return control.Refuse("Operation failed: the profile could not be written.");
  }
  control.SayWhenItCounts(Effect::ACCOUNT);
  return DONE;
}

// Changes the profile of an account that exists, by what `fill` does to the form.
int EditProfile(Control& control, const std::string& address, const auto& fill) {
  const std::optional<EditRequest> place = ExistingAccount(control, address);
  if (!place) return REFUSED;
  const std::string path = ProfilePath(place->Domain, place->Account).value_or("");
  if (!platform::CanReplace(path)) return control.Refuse(path + " can't be written by this account.");
  UserEditForm form(control.Prompts, *place);
  return fill(form) ? AcceptForm(control, form, *place, NewFiles({})) : REFUSED;
}

// What an account is made of, from the domain's directory on.
std::vector<std::string> AccountPaths(const EditRequest& place) {
  const std::string domain = StorePath(g_SystemConfig.MailPath.Get(), place.Domain);
  const std::string account = JoinPath(domain, place.Account);
  return {domain, account, JoinPath(account, "MailDir"), InboxPath(account), JoinPath(account, PROFILE_FILE)};
}

}  // namespace

int UserList(Control& control, const Arguments& arguments) {
  const auto domains = g_SystemConfig.LocalDomains.Get();
  if (!arguments.First.empty() && !FindRow(*domains, arguments.First)) {
    return control.Refuse(arguments.First + " is no local domain.");
  }
  Listing listing{{"address", "name", "pop3", "smtp"}, {}};
  for (const std::string& domain : *domains) {
    if (!arguments.First.empty() && !EqualsIgnoreCase(domain, arguments.First)) continue;
    if (!CanListAccounts(control, domain)) return REFUSED;
    std::vector<AccountRow> rows = ListAccounts(domain);
    std::sort(rows.begin(), rows.end(),
              [](const AccountRow& a, const AccountRow& b) { return a.Account < b.Account; });
    for (const AccountRow& row : rows) {
      const UserProfile profile = LoadProfile(domain, row.Account);
      listing.Rows.push_back(
          {row.Account + "@" + domain, row.Name, profile.Pop3Enable != 0, profile.SmtpEnable != 0});
    }
  }
  control.Show(listing);
  return DONE;
}

int UserAdd(Control& control, const Arguments& arguments) {
  const std::optional<EditRequest> place = LocalAddress(control, arguments.First);
  if (!place) return REFUSED;
  if (const FieldFault fault = CheckAccountName(ACCOUNT_FIELD, place->Account)) return control.Refuse(*fault);
  const std::optional<std::string> profile = ProfilePath(place->Domain, place->Account);
  if (!profile || platform::ProbePath(*profile) != platform::PathKind::MISSING) {
    return control.Refuse("Already has the same record");
  }
  UserEditForm form(control.Prompts, {place->Domain, ""});
  form.Account = place->Account;
  if (!FillForm(control, form, arguments.Settings)) return REFUSED;
  const std::optional<std::string> password = ReadPassword(control);
  if (!password) return REFUSED;
  form.Value(PASSWORD_KEY) = *password;

  const std::vector<std::string> paths = AccountPaths(*place);
  const NewFiles made(paths);
  // The domain's directory comes with the server's start, which need not have been yet.
  platform::CreateDirectory(paths.front());
  const int status = AcceptForm(control, form, *place, made);
  if (status == DONE && form.Value("Pop3Enable") == "0" && form.Value("SmtpEnable") == "0") {
    control.Note("The account takes mail but can't log on: set Pop3Enable and SmtpEnable to 1.");
  }
  return status;
}

int UserShow(Control& control, const Arguments& arguments) {
  const std::optional<EditRequest> place = ExistingAccount(control, arguments.First);
  if (!place) return REFUSED;
  const UserProfile profile = LoadProfile(place->Domain, place->Account);
  Record record{{"address", place->Account + "@" + place->Domain}};
  for (const ProfileField& field : ProfileFields()) {
    if (field.Key == PASSWORD_KEY) {
      record.emplace_back("PasswordSet", !profile.Password.empty());
    } else if (field.Text != nullptr) {
      record.emplace_back(field.Key, profile.*field.Text);
    } else {
      record.emplace_back(field.Key, static_cast<std::int64_t>(profile.*field.Number));
    }
  }
  control.Show(record);
  return DONE;
}

int UserSet(Control& control, const Arguments& arguments) {
  return EditProfile(control, arguments.First,
                     [&](UserEditForm& form) { return FillForm(control, form, arguments.Settings); });
}

int UserPassword(Control& control, const Arguments& arguments) {
  return EditProfile(control, arguments.First, [&](UserEditForm& form) {
    const std::optional<std::string> password = ReadPassword(control);
    if (password) form.Value(PASSWORD_KEY) = *password;
    return password.has_value();
  });
}

int UserDelete(Control& control, const Arguments& arguments) {
  const std::optional<EditRequest> place = ExistingAccount(control, arguments.First);
  if (!place) return REFUSED;
  UserListLogic users(control.Prompts);
  users.ChooseDomain(FindRow(users.Domains, place->Domain).value_or(0));
  const auto row = std::find_if(users.Rows.begin(), users.Rows.end(),
                                [&](const AccountRow& each) { return each.Account == place->Account; });
  if (row == users.Rows.end()) return control.Refuse("No the record: " + arguments.First);
  if (!users.Delete(static_cast<std::size_t>(row - users.Rows.begin()))) return REFUSED;
  control.SayWhenItCounts(Effect::ACCOUNT);
  return DONE;
}

}  // namespace velnor
