#include "control/queue.h"

#include <algorithm>
#include <cerrno>
#include <tuple>

#include "core/dir_scan.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "platform/clock.h"

namespace velnor {
namespace {

constexpr std::string_view CLAIM_MARK = "__";
constexpr std::size_t LINE_LIMIT = 1023;
constexpr std::size_t MOST_HEADER_LINES = 1000;

// The state that a name tells, or none for a file that is no part of the queue.
std::optional<SpoolState> StateOf(std::string_view name) {
  if (name.starts_with("__s")) return SpoolState::CLAIMED;
  if (name.starts_with("__")) return std::nullopt;
  if (name.starts_with('_')) return SpoolState::WRITING;
  return name.starts_with('s') ? std::optional(SpoolState::WAITING) : std::nullopt;
}

// The name in the state that follows, or an empty text.
std::string NextName(const SpoolEntry& entry) {
  if (entry.State == SpoolState::WRITING) return "s" + entry.Name.substr(1);
  return entry.State == SpoolState::WAITING ? std::string(CLAIM_MARK) + entry.Name : "";
}

// Opens the file, following it into its next states where it is not there any more.
SpoolLook OpenFollowing(platform::TextReader& file, SpoolEntry& entry) {
  for (;;) {
    const int error = file.Open(JoinPath(g_SystemConfig.SpoolPath(), entry.Name));
    if (error != ENOENT) return error == 0 ? SpoolLook::READ : SpoolLook::UNREADABLE;
    const std::string next = NextName(entry);
    if (next.empty()) return SpoolLook::GONE;
    entry.Name = next;
    entry.State = StateOf(next).value_or(SpoolState::CLAIMED);
  }
}

}  // namespace

const char* StateWord(SpoolState state) {
  switch (state) {
    case SpoolState::WRITING:
      return "writing";
    case SpoolState::WAITING:
      return "waiting";
    case SpoolState::CLAIMED:
      return "claimed";
  }
  return "";
}

std::optional<std::vector<SpoolEntry>> ScanSpool() {
  const auto scan = DirOpen(g_SystemConfig.SpoolPath());
  if (scan == nullptr) return std::nullopt;
  const std::int64_t now = platform::UnixNow();
  std::vector<SpoolEntry> entries;
  while (const DirEntry* entry = DirNext(scan.get())) {
    const std::optional<SpoolState> state = StateOf(entry->Name);
    if (!state || entry->IsDirectory) continue;
    entries.push_back({std::string(entry->Name.View()), *state,
                       std::max<std::int64_t>(now - entry->CreateTime, 0), entry->Size});
  }
  if (scan->Walk.Failed()) return std::nullopt;
  std::sort(entries.begin(), entries.end(), [](const SpoolEntry& a, const SpoolEntry& b) {
    return std::tie(b.Age, a.Name) < std::tie(a.Age, b.Name);
  });
  return entries;
}

SpoolLook ReadSpoolFile(SpoolEntry& entry, SpoolContent& content) {
  platform::TextReader file;
  const SpoolLook look = OpenFollowing(file, entry);
  if (look != SpoolLook::READ) return look;
  if (!ReadForwardPath(file, content.Head) || !ReadReturnPath(file, content.Head) ||
      !ReadRetryTimes(file, content.Head)) {
    return look;
  }
  std::string line;
  while (content.Header.size() < MOST_HEADER_LINES && file.ReadLine(LINE_LIMIT, line)) {
    const std::string_view text = TrimRightBlanks(line);
    if (text.empty()) break;
    content.Header.emplace_back(text);
  }
  return look;
}

}  // namespace velnor
