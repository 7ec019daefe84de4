#include "console/logic/rules_page_logic.h"

#include "console/logic/dialog_prompts.h"
#include "console/logic/field_check.h"
#include "console/logic/row_search.h"
#include "core/system_config.h"

namespace velnor {

RulesPageLogic::RulesPageLogic(Prompter& prompter) : Rows(*g_SystemConfig.Rules.Get()), prompter_(prompter) {}

void RulesPageLogic::Select(std::size_t row) {
  Selected = row;
  Text = Rows.at(row);
}

void RulesPageLogic::Refuse(const std::string& message) {
  ShowError(prompter_, message);
  FocusText = true;
}

void RulesPageLogic::Add() {
  FocusText = false;
  if (Text.empty()) return Refuse("Rule is NULL");
  if (FindRow(Rows, Text)) return Refuse("Already has the same record");
  FieldFault fault = CheckText("Rule", Text, RULE_LIMIT);
  if (!fault) fault = CheckLineEntry("Rule", Text);
  if (fault) return Refuse(*fault);
  if (g_SystemConfig.AddRule(Text) == 0) return;
  Rows.push_back(Text);
  g_SystemConfig.SaveRules();
  Text.clear();
}

void RulesPageLogic::Delete() {
  FocusText = false;
  if (!Confirm(prompter_, "Are you sure delete the rule?")) return;
  const std::optional<std::size_t> row = FindRow(Rows, Text);
  if (Text.empty() || !row) return Refuse("No the record");
  if (g_SystemConfig.DeleteRule(Text) == 0) return;
  Rows.erase(Rows.begin() + static_cast<std::ptrdiff_t>(*row));
  Selected = SelectionAfterRemoval(Selected, *row);
  g_SystemConfig.SaveRules();
  Text.clear();
}

}  // namespace velnor
