#include "console/logic/domains_page_logic.h"

#include <utility>

#include "console/logic/dialog_prompts.h"
#include "console/logic/field_check.h"
#include "console/logic/row_search.h"
#include "core/system_config.h"

namespace velnor {

DomainsPageLogic::DomainsPageLogic(Prompter& prompter) : prompter_(prompter) {
  Refresh();
}

void DomainsPageLogic::Refresh() {
  NameTable stored = *g_SystemConfig.LocalDomains.Get();
  if (stored == Rows) return;
  Rows = std::move(stored);
  Selected.reset();
}

void DomainsPageLogic::Select(std::size_t row) {
  Selected = row;
  Text = Rows.at(row);
}

void DomainsPageLogic::Refuse(const std::string& message) {
  ShowError(prompter_, message);
  FocusText = true;
}

bool DomainsPageLogic::CheckName() {
  const FieldFault fault = CheckDomainName("Domain", Text);
  if (fault) Refuse(*fault);
  return !fault;
}

void DomainsPageLogic::Add() {
  FocusText = false;
  if (Text.empty()) return Refuse("Domain Name is NULL");
  if (FindRow(Rows, Text)) return Refuse("Already has the same domain");
  if (!CheckName()) return;
  if (g_SystemConfig.AddDomain(Text) == 0) return;
  Rows.push_back(Text);
  g_SystemConfig.SaveDomains();
}

void DomainsPageLogic::Delete() {
  FocusText = false;
  const std::optional<std::size_t> row = FindRow(Rows, Text);
  if (Text.empty() || !row) return Refuse("No the record");
  if (!Confirm(prompter_, "Are you sure delete the domain?")) return;
  if (g_SystemConfig.DeleteDomain(Text) == 0) return;
  Rows.erase(Rows.begin() + static_cast<std::ptrdiff_t>(*row));
  Selected = SelectionAfterRemoval(Selected, *row);
  g_SystemConfig.SaveDomains();
}

void DomainsPageLogic::Update() {
  FocusText = false;
  if (Text.empty() || !Selected) return Refuse("you have not choose the domain");
  std::string& row = Rows.at(*Selected);
  if (EqualsIgnoreCase(Text, row)) return Refuse("the same name");
  if (!CheckName()) return;
  if (!Confirm(prompter_, "Are you sure update the domain?")) return;
  if (g_SystemConfig.UpdateDomain(row, Text) == 0) return;
  row = Text;
  g_SystemConfig.SaveDomains();
}

}  // namespace velnor
