#include "console/logic/dialog_prompts.h"
#include "console/logic/field_check.h"
#include "console/logic/mail_list_logic.h"
#include "console/logic/row_search.h"
#include "control/commands.h"
#include "control/mail_list_check.h"
#include "core/mail_store.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {
namespace {

using platform::FixedText;

constexpr std::size_t ADDRESS_LIMIT = decltype(MailList::Name)::CAPACITY;

// Whether an entry would be found again by a load. The dialog needs no such test, as its tables live on.
bool IsLoadable(Control& control, const char* caption, const std::string& address) {
  if (const FieldFault fault = CheckText(caption, address, ADDRESS_LIMIT)) {
    control.Refuse(*fault);
    return false;
  }
  if (address.size() < 3 || address.find('@') == std::string::npos) {
    control.Refuse("\"" + std::string(caption) + "\" accepts an address, as user@domain.");
    return false;
  }
  return true;
}

bool CanRead(Control& control) {
  return control.CanRead(g_SystemConfig.MailListPath.Get());
}

// Whether the file may be written anew, which drops the lines that were not loaded.
bool MayChange(Control& control) {
  const std::string path = g_SystemConfig.MailListPath.Get();
  if (!CanRead(control) || !control.MayReplace(path)) return false;
  const std::vector<std::string> dropped = DroppedMailListLines(path);
  if (dropped.empty() || control.Chosen.Force) return true;
  for (const std::string& line : dropped) control.Note(FormatText("%s, %s", path.c_str(), line.c_str()));
  control.Refuse("The change would take these lines out of the file. Mend them first, or use --force.");
  return false;
}

int Finish(Control& control, MailListLogic& dialog, bool done) {
  if (control.Prompts.Refused()) return REFUSED;
  if (!done) return control.Refuse("Operation failed");
  const NewFiles made({g_SystemConfig.MailListPath.Get()});
  dialog.Apply();
  made.HandOverReadable();
  if (!control.CheckSaved(Part::MAIL_LISTS)) return REFUSED;
  control.SayWhenItCounts(Effect::RELOAD);
  return DONE;
}

bool HasList(const std::string& name) {
  return g_SystemConfig.FindMailList(name) != nullptr;
}

// The dialog with a list that exists, or none with the words shown.
std::optional<MailListLogic> DialogWith(Control& control, const std::string& list) {
  if (!CanRead(control)) return std::nullopt;
  MailListLogic dialog(control.Prompts);
  const std::optional<std::size_t> row = FindRow(dialog.Lists, list);
  if (!row) {
    control.Refuse("No the record");
    return std::nullopt;
  }
  dialog.SelectList(*row);
  return dialog;
}

// The list's mail comes in by the account of its name.
void NoteMissingAccount(Control& control, const std::string& list) {
  FixedText<127> user;
  FixedText<127> domain;
  std::string inbox;
  if (SplitAddress(list, user, domain) == 1 && g_SystemConfig.IsLocalDomain(domain) == 1 &&
      FindInbox(domain, user, inbox) == InboxState::PRESENT) {
    return;
  }
  control.Note("No account stands behind the list: mail to it is refused until there is a user " + list +
               ".");
}

}  // namespace

int MailListList(Control& control, const Arguments&) {
  if (!CanRead(control)) return REFUSED;
  Listing listing{{"list", "members"}, {}};
  for (const MailList& list : *g_SystemConfig.MailLists.Get()) {
    listing.Rows.push_back({std::string(list.Name.View()), static_cast<std::int64_t>(list.Members.size())});
  }
  control.Show(listing);
  return DONE;
}

int MailListAdd(Control& control, const Arguments& arguments) {
  if (!IsLoadable(control, "List Addr", arguments.First) || !MayChange(control)) return REFUSED;
  MailListLogic dialog(control.Prompts);
  dialog.ListAddr = arguments.First;
  dialog.AddList();
  const int status = Finish(control, dialog, HasList(arguments.First));
  if (status == DONE) NoteMissingAccount(control, arguments.First);
  return status;
}

int MailListDelete(Control& control, const Arguments& arguments) {
  if (!MayChange(control)) return REFUSED;
  // The dialog cuts a name to what a record keeps, which could be another list's.
  if (!HasList(arguments.First)) return control.Refuse("No the record");
  MailListLogic dialog(control.Prompts);
  dialog.ListAddr = arguments.First;
  dialog.DeleteList();
  return Finish(control, dialog, !HasList(arguments.First));
}

int MailListMembers(Control& control, const Arguments& arguments) {
  const std::optional<MailListLogic> dialog = DialogWith(control, arguments.First);
  if (!dialog) return REFUSED;
  Listing listing{{"address", "permission"}, {}};
  for (const MemberRow& row : dialog->Members) {
    listing.Rows.push_back({row.Address, std::string(row.PriorityText())});
  }
  control.Show(listing);
  return DONE;
}

int MailListAddMember(Control& control, const Arguments& arguments) {
  std::optional<MailListLogic> dialog = DialogWith(control, arguments.First);
  if (!dialog || !IsLoadable(control, "Email Addr", arguments.Second) || !MayChange(control)) return REFUSED;
  dialog->EmailAddr = arguments.Second;
  dialog->Priority = arguments.ReadOnly ? 1 : 0;
  dialog->AddMember();
  return Finish(control, *dialog,
                g_SystemConfig.FindListMember(arguments.First, arguments.Second).has_value());
}

int MailListRemoveMember(Control& control, const Arguments& arguments) {
  std::optional<MailListLogic> dialog = DialogWith(control, arguments.First);
  if (!dialog || !MayChange(control)) return REFUSED;
  if (!g_SystemConfig.FindListMember(arguments.First, arguments.Second)) {
    return control.Refuse("There is not the email addr");
  }
  // The dialog does not ask: there, nothing is lost before "Apply".
  if (!Confirm(control.Prompts, "Are you sure remove the email addr?")) return REFUSED;
  dialog->EmailAddr = arguments.Second;
  dialog->RemoveMember();
  return Finish(control, *dialog, !g_SystemConfig.FindListMember(arguments.First, arguments.Second));
}

}  // namespace velnor
