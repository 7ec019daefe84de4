#include <algorithm>

#include "control/commands.h"
#include "control/queue.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {
namespace {

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

int RefuseScan(Control& control) {
  return control.Refuse(g_SystemConfig.SpoolPath() + " can't be read by this account.");
}

}  // namespace

int QueueList(Control& control, const Arguments&) {
  auto entries = ScanSpool();
  if (!entries) return RefuseScan(control);
  Listing listing{{"name", "state", "age", "size", "sender", "recipients", "retries"}, {}};
  for (SpoolEntry& entry : *entries) {
    const auto content = ReadSpoolFile(entry);
    if (!content) continue;  // delivered since the scan
    listing.Rows.push_back({entry.Name, std::string(StateWord(entry.State)), entry.Age, entry.Size,
                            std::string(content->Head.ReturnPath.View()), Recipients(content->Head),
                            static_cast<std::int64_t>(content->Head.RetryTimes)});
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
  const auto content = entry == entries->end() ? std::nullopt : ReadSpoolFile(*entry);
  if (!content) return control.Refuse("No the record: " + arguments.First);
  Record record{{"name", entry->Name},
                {"state", std::string(StateWord(entry->State))},
                {"age", entry->Age},
                {"size", entry->Size},
                {"sender", std::string(content->Head.ReturnPath.View())},
                {"recipients", Recipients(content->Head)},
                {"retries", static_cast<std::int64_t>(content->Head.RetryTimes)}};
  if (control.Chosen.Json) record.emplace_back("header", content->Header);
  control.Show(record);
  if (control.Chosen.Json) return DONE;
  control.Around.Screen.Out("\n");
  for (const std::string& line : content->Header) control.Around.Screen.Out(LogSafe(line) + "\n");
  return DONE;
}

}  // namespace velnor
