#include <algorithm>

#include "console/logic/row_search.h"
#include "console/logic/rules_page_logic.h"
#include "control/commands.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "platform/account.h"
#include "platform/file.h"
#include "platform/file_rights.h"
#include "platform/socket.h"

namespace velnor {
namespace {

// Whether one rule alone forbids an address. It is tested by a table of its own, as the listeners test it.
bool Forbids(const std::string& rule, std::string_view address) {
  const NameTable all = *g_SystemConfig.Rules.Get();
  g_SystemConfig.Rules.Set({rule});
  const bool forbids = g_SystemConfig.IsBlockedPeer(address) == 1;
  g_SystemConfig.Rules.Set(all);
  return forbids;
}

// Says so if the server that runs reads its rules elsewhere: they lie beside its program.
void NoteOtherPlace(Control& control) {
  const std::optional<platform::InstanceProcess> instance = control.OwnInstance();
  if (!instance || instance->Id == 0) return;
  const std::string place = instance->Program.substr(0, instance->Program.rfind('/'));
  if (platform::IsSamePlace(place, control.Around.AppDirectory)) return;
  control.Note("The instance that runs reads " + JoinPath(place, "rules.ini") + ", not " +
               g_SystemConfig.RulesPath() + ".");
}

int Finish(Control& control, bool done, const NewFiles& made) {
  if (control.Prompts.Refused()) return REFUSED;
  made.HandOverReadable();
  if (!done) return control.Refuse("Operation failed");
  if (!control.CheckSaved(Part::RULES)) return REFUSED;
  control.SayWhenItCounts(Effect::RELOAD);
  NoteOtherPlace(control);
  return DONE;
}

// The rights for a change of rules.ini, which lies beside the programs. Where those are the administrator's,
// so is the file, and nobody else can have put a link in its place.
class RightsToRules {
 public:
  explicit RightsToRules(const Control& control) {
    const auto owner = platform::OwnerOf(control.Around.AppDirectory);
    const bool is_own = owner && owner->User == platform::OwnAccount().User;
    if (is_own && !platform::IsLink(g_SystemConfig.RulesPath())) own_.emplace();
  }

 private:
  std::optional<platform::OwnFileRights> own_;
};

bool CanRead(Control& control) {
  return control.CanRead(g_SystemConfig.RulesPath());
}

bool IsRule(const std::string& pattern) {
  return FindRow(*g_SystemConfig.Rules.Get(), pattern).has_value();
}

}  // namespace

int RuleList(Control& control, const Arguments&) {
  if (!CanRead(control)) return REFUSED;
  Listing listing{{"rule"}, {}};
  for (const std::string& rule : *g_SystemConfig.Rules.Get()) listing.Rows.push_back({rule});
  control.Show(listing);
  return DONE;
}

int RuleAdd(Control& control, const Arguments& arguments) {
  if (!CanRead(control)) return REFUSED;  // with the rights that the rules were loaded with
  const RightsToRules rights(control);
  if (!control.MayReplace(g_SystemConfig.RulesPath())) return REFUSED;
  const NewFiles made({g_SystemConfig.RulesPath()});
  RulesPageLogic page(control.Prompts);
  page.Text = arguments.First;
  page.Add();
  const int status = Finish(control, IsRule(arguments.First), made);
  if (status == DONE && Forbids(arguments.First, "")) control.Note("This rule forbids every peer.");
  return status;
}

int RuleDelete(Control& control, const Arguments& arguments) {
  if (!CanRead(control)) return REFUSED;  // as RuleAdd
  const RightsToRules rights(control);
  if (!control.MayReplace(g_SystemConfig.RulesPath())) return REFUSED;
  RulesPageLogic page(control.Prompts);
  page.Text = arguments.First;
  page.Delete();
  return Finish(control, !IsRule(arguments.First), NewFiles({}));
}

int RuleTest(Control& control, const Arguments& arguments) {
  const std::string& address = arguments.First;
  if (!platform::IsDottedAddress(address)) return control.Refuse(address + " is no IPv4 address.");
  if (!CanRead(control)) return REFUSED;
  const auto rules = g_SystemConfig.Rules.Get();
  const auto found = std::find_if(rules->begin(), rules->end(),
                                  [&](const std::string& rule) { return Forbids(rule, address); });
  const bool forbidden = found != rules->end();
  control.Show(
      Record{{"address", address}, {"forbidden", forbidden}, {"rule", forbidden ? Cell(*found) : Cell()}});
  return forbidden ? REFUSED : DONE;
}

}  // namespace velnor
