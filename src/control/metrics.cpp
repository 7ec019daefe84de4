// The figures of the queue and the mailboxes, in the OpenMetrics text form.

#include <algorithm>
#include <array>
#include <optional>

#include "control/commands.h"
#include "control/local_address.h"
#include "control/queue.h"
#include "core/accounts.h"
#include "core/system_config.h"

namespace velnor {
namespace {

struct DomainFigures {
  std::string Domain;
  std::int64_t Mailboxes = 0;
  std::int64_t Messages = 0;
  std::int64_t Bytes = 0;
};

// The figures of a domain, or none with the words shown.
std::optional<DomainFigures> Measure(Control& control, const std::string& domain) {
  if (!CanListAccounts(control, domain)) return std::nullopt;
  DomainFigures figures{.Domain = domain};
  for (const AccountRow& row : ListAccounts(domain)) {
    const std::optional<MailboxFigures> mailbox = MeasureAccount(control, {domain, row.Account});
    if (!mailbox) return std::nullopt;
    ++figures.Mailboxes;
    figures.Messages += mailbox->Messages;
    figures.Bytes += mailbox->Bytes;
  }
  return figures;
}

std::string LabelValue(std::string_view text) {
  std::string value;
  for (const char c : ValidUtf8(text)) {
    if (c == '\\' || c == '"') value += '\\';
    value += c == '\n' ? "\\n" : std::string(1, c);
  }
  return value;
}

// The lines that stand before a family's samples. A unit is the end of the family's name.
std::string FamilyHead(const std::string& name, const std::string& unit, const std::string& help) {
  std::string head = "# TYPE " + name + " gauge\n";
  if (!unit.empty()) head += "# UNIT " + name + " " + unit + "\n";
  return head + "# HELP " + name + " " + help + "\n";
}

std::string Sample(const std::string& name, const char* label, std::string_view value, std::int64_t number) {
  return name + "{" + label + "=\"" + LabelValue(value) + "\"} " + std::to_string(number) + "\n";
}

std::string QueueMetrics(const std::vector<SpoolEntry>& entries) {
  const std::string files = "velnor_queue_files";
  std::string text = FamilyHead(files, "", "Files in the spool by their state.");
  for (const SpoolState state : {SpoolState::WRITING, SpoolState::WAITING, SpoolState::CLAIMED}) {
    const auto count = std::count_if(entries.begin(), entries.end(),
                                     [state](const SpoolEntry& entry) { return entry.State == state; });
    text += Sample(files, "state", StateWord(state), count);
  }
  const std::string age = "velnor_queue_oldest_age_seconds";
  text += FamilyHead(age, "seconds", "Age of the oldest file in the spool, 0 with none.");
  return text + age + " " + std::to_string(entries.empty() ? 0 : entries.front().Age) + "\n";
}

std::string DomainMetrics(const std::vector<DomainFigures>& domains) {
  struct Family {
    const char* Name;
    const char* Unit;
    const char* Help;
    std::int64_t DomainFigures::*Figure;
  };
  constexpr std::array FAMILIES = {
      Family{"velnor_mailboxes", "", "Accounts of the domain.", &DomainFigures::Mailboxes},
      Family{"velnor_mailbox_messages", "", "Messages in the domain's mailboxes.", &DomainFigures::Messages},
      Family{"velnor_mailbox_bytes", "bytes", "Bytes in the domain's mailboxes, as the quota counts them.",
             &DomainFigures::Bytes},
  };
  std::string text;
  for (const Family& family : FAMILIES) {
    text += FamilyHead(family.Name, family.Unit, family.Help);
    for (const DomainFigures& domain : domains) {
      text += Sample(family.Name, "domain", domain.Domain, domain.*family.Figure);
    }
  }
  return text;
}

}  // namespace

int ServerMetrics(Control& control, const Arguments&) {
  const auto entries = ScanSpool();
  if (!entries) return control.Refuse(g_SystemConfig.SpoolPath() + " can't be read by this account.");
  std::vector<DomainFigures> domains;
  for (const std::string& domain : *g_SystemConfig.LocalDomains.Get()) {
    const std::optional<DomainFigures> figures = Measure(control, domain);
    if (!figures) return REFUSED;
    domains.push_back(*figures);
  }
  control.Around.Screen.Out(QueueMetrics(*entries) + DomainMetrics(domains) + "# EOF\n");
  return DONE;
}

}  // namespace velnor
