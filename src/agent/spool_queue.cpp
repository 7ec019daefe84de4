#include "agent/spool_queue.h"

#include <vector>

#include "core/dir_scan.h"
#include "core/paths.h"
#include "core/spool_file.h"
#include "core/system_config.h"
#include "platform/clock.h"
#include "platform/directory_walk.h"
#include "platform/file.h"

namespace velnor {
namespace {

constexpr std::int64_t LEAST_AGE = 10;  // seconds; also the whole pause between two attempts
constexpr std::string_view CLAIM_MARK = "__";
constexpr std::string_view CLAIMED = "__s";
constexpr std::string_view UNFINISHED = "_";

}  // namespace

int ClaimNextSpoolFile(std::string& spool_path, const SpoolFilter& filter) {
  const std::int64_t now = platform::UnixNow();
  const std::string directory = g_SystemConfig.SpoolPath();
  const auto scan = DirOpen(directory);
  while (const DirEntry* entry = DirNext(scan.get())) {
    const std::string_view name = entry->Name;
    if (!name.starts_with('s') || entry->IsDirectory || now - entry->CreateTime < LEAST_AGE) continue;
    const std::string waiting = JoinPath(directory, std::string(name));
    if (filter && !filter(waiting)) continue;
    const std::string claimed = JoinPath(directory, std::string(CLAIM_MARK).append(name));
    // A file that can't be claimed, if only because its name has no room for the mark, goes on waiting and
    // must not keep those behind it from their turn.
    if (platform::MoveFile(waiting, claimed) != 0) continue;
    spool_path = claimed;
    return 1;
  }
  return 0;
}

int RequeueMail(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view address,
                std::string_view sender, std::int32_t retry_times) {
  MailFile copy;
  if (copy.Create(g_SystemConfig.SpoolPath(), MailPlace::SPOOL, thread_id) != 0) return 0;
  WriteSpoolHead(copy, address, sender, retry_times + 1);
  return copy.CopyFrom(spool_file) && copy.Publish() ? 1 : 0;
}

void RecoverSpool() {
  const std::string directory = g_SystemConfig.SpoolPath();
  std::vector<std::string> claimed;
  std::vector<std::string> unfinished;
  platform::DirectoryWalk walk;
  if (walk.Open(directory) != 0) return;
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    if (entry.isDirectory) continue;
    if (entry.name.starts_with(CLAIMED)) {
      claimed.push_back(entry.name);
    } else if (entry.name.starts_with(UNFINISHED) && !entry.name.starts_with(CLAIM_MARK) &&
               entry.changed < platform::ProcessStartTime()) {
      unfinished.push_back(entry.name);
    }
  }
  for (const std::string& name : claimed) {
    platform::MoveFile(JoinPath(directory, name), JoinPath(directory, name.substr(CLAIM_MARK.size())));
  }
  for (const std::string& name : unfinished) platform::DeleteFile(JoinPath(directory, name));
}

}  // namespace velnor
