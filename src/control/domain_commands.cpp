#include "console/logic/domains_page_logic.h"
#include "console/logic/row_search.h"
#include "control/commands.h"
#include "control/config_check.h"
#include "core/accounts.h"
#include "core/mail_store.h"
#include "core/settings.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/file.h"

namespace velnor {
namespace {

// Whether the stored list has room for the names in the table and one more, in the place of another if that
// is not empty.
bool HasRoom(std::string_view more, std::string_view instead_of) {
  std::size_t length = more.size() + 1;
  for (const std::string& domain : *g_SystemConfig.LocalDomains.Get()) length += domain.size() + 1;
  if (!instead_of.empty()) length -= instead_of.size() + 1;
  return length <= LOCAL_DOMAIN_LIMIT;
}

int RefuseLength(Control& control) {
  return control.Refuse("The list of the domains has no room for this name.");
}

void NoteLength(Control& control, std::string_view domain) {
  if (domain.size() <= LOGON_DOMAIN_LIMIT) return;
  control.Note("The users of a domain of more than " + std::to_string(LOGON_DOMAIN_LIMIT) +
               " characters can't log on. Its mail is taken and delivered.");
}

// Ends a command: `done` says whether the table is as it was meant to be.
int Finish(Control& control, bool done, const NewFiles& made) {
  if (control.Prompts.Refused()) return REFUSED;
  made.HandOver();
  if (!done) return control.Refuse("Operation failed");
  if (!control.CheckSaved(Part::DOMAINS)) return REFUSED;
  control.SayWhenItCounts(Effect::RELOAD);
  return DONE;
}

// Whether the list may be written anew, which drops what was not loaded.
bool MayChange(Control& control) {
  if (!control.MayReplace(g_SystemConfig.IniPath.Get())) return false;
  const std::vector<ConfigFault> dropped = DroppedDomains();
  if (dropped.empty() || control.Chosen.Force) return true;
  for (const ConfigFault& fault : dropped) control.Note(LogSafe(fault.Place + ": " + fault.Text));
  control.Refuse("The change would drop this from the list. Mend the list first, or use --force.");
  return false;
}

std::string DirectoryOf(const std::string& domain) {
  return StorePath(g_SystemConfig.MailPath.Get(), domain);
}

}  // namespace

int DomainList(Control& control, const Arguments&) {
  Listing listing{{"domain"}, {}};
  for (const std::string& domain : *g_SystemConfig.LocalDomains.Get()) listing.Rows.push_back({domain});
  control.Show(listing);
  return DONE;
}

int DomainAdd(Control& control, const Arguments& arguments) {
  if (!MayChange(control)) return REFUSED;
  if (!HasRoom(arguments.First, "")) return RefuseLength(control);
  DomainsPageLogic page(control.Prompts);
  page.Text = arguments.First;
  const NewFiles made({DirectoryOf(page.Text)});
  page.Add();
  const int status = Finish(control, g_SystemConfig.IsLocalDomain(page.Text) == 1, made);
  if (status == DONE) NoteLength(control, arguments.First);
  return status;
}

int DomainRename(Control& control, const Arguments& arguments) {
  if (!MayChange(control)) return REFUSED;
  DomainsPageLogic page(control.Prompts);
  const std::optional<std::size_t> row = FindRow(page.Rows, arguments.First);
  if (!row) return control.Refuse("No the record");
  const std::optional<std::size_t> other = FindRow(page.Rows, arguments.Second);
  if (other && other != row) return control.Refuse("Already has the same domain");
  if (!HasRoom(arguments.Second, page.Rows[*row])) return RefuseLength(control);
  page.Select(*row);
  page.Text = arguments.Second;
  const bool stays = platform::ProbePath(DirectoryOf(arguments.Second)) != platform::PathKind::MISSING;
  page.Update();
  const int status = Finish(control, g_SystemConfig.IsLocalDomain(arguments.Second) == 1, NewFiles({}));
  if (status == DONE) NoteLength(control, arguments.Second);
  if (status == DONE && stays) {
    control.Note("The directory " + DirectoryOf(arguments.Second) +
                 " was there already, so that of the old name stays where it is, with all that is in it.");
  }
  return status;
}

int DomainDelete(Control& control, const Arguments& arguments) {
  if (!MayChange(control)) return REFUSED;
  DomainsPageLogic page(control.Prompts);
  page.Text = arguments.First;
  page.Delete();
  return Finish(control, g_SystemConfig.IsLocalDomain(page.Text) == 0, NewFiles({}));
}

}  // namespace velnor
