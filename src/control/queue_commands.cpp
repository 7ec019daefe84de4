#include <algorithm>
#include <array>

#include "control/commands.h"
#include "control/queue.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {
namespace {

constexpr std::array COLUMNS = {"name", "state", "age", "size", "sender", "recipients", "retries"};

std::vector<std::string> Recipients(const SpoolHead& head) {
  std::vector<std::string> recipients;
  std::string_view left = head.ForwardPath;
  while (!left.empty()) {
    const std::string_view address = left.substr(0, left.find(','));
    recipients.emplace_back(address);
    left = TextFrom(left, address.size() + 1);
  }
  return recipients;
}

// The entry's name without the marks of its state, by which it keeps its name for life.
std::string_view Unmarked(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of('_'), name.size()));
  return name.starts_with('s') ? name.substr(1) : name;
}

// What a listing tells of a file under COLUMNS; a head that could not be read gives unknown cells.
std::vector<Cell> Cells(const SpoolEntry& entry, const SpoolHead* head) {
  Cell sender;
  Cell recipients;
  Cell retries;
  if (head != nullptr) {
    sender = std::string(head->ReturnPath.View());
    recipients = Recipients(*head);
    retries = static_cast<std::int64_t>(head->RetryTimes);
  }
  return {entry.Name, std::string(StateWord(entry.State)), entry.Age, entry.Size, sender, recipients,
          retries};
}

int RefuseScan(Control& control) {
  return control.Refuse(g_SystemConfig.SpoolPath() + " can't be read by this account.");
}

}  // namespace

int QueueList(Control& control, const Arguments&) {
  auto entries = ScanSpool();
  if (!entries) return RefuseScan(control);
  Listing listing{{COLUMNS.begin(), COLUMNS.end()}, {}};
  for (SpoolEntry& entry : *entries) {
    SpoolContent content;
    const SpoolLook look = ReadSpoolFile(entry, content);
    if (look == SpoolLook::GONE) continue;  // delivered since the scan
    listing.Rows.push_back(Cells(entry, look == SpoolLook::READ ? &content.Head : nullptr));
  }
  control.Show(listing);
  return DONE;
}

int QueueShow(Control& control, const Arguments& arguments) {
  auto entries = ScanSpool();
  if (!entries) return RefuseScan(control);
  const auto entry = std::find_if(entries->begin(), entries->end(), [&](const SpoolEntry& each) {
    return Unmarked(each.Name) == Unmarked(arguments.First);
  });
  SpoolContent content;
  const SpoolLook look = entry == entries->end() ? SpoolLook::GONE : ReadSpoolFile(*entry, content);
  if (look == SpoolLook::GONE) return control.Refuse("No the record: " + arguments.First);
  if (look == SpoolLook::UNREADABLE) {
    return control.Refuse(JoinPath(g_SystemConfig.SpoolPath(), entry->Name) +
                          " can't be read by this account.");
  }
  Record record;
  for (Cell& cell : Cells(*entry, &content.Head))
    record.emplace_back(COLUMNS[record.size()], std::move(cell));
  if (control.Chosen.Json) record.emplace_back("header", content.Header);
  control.Show(record);
  if (control.Chosen.Json) return DONE;
  control.Around.Screen.Out("\n");
  for (const std::string& line : content.Header) control.Around.Screen.Out(LogSafe(line) + "\n");
  return DONE;
}

}  // namespace velnor
