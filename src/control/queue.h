// The spool as an administrator looks at it: its files with state and age, while the server goes on working
// on them. Nothing here changes a file. The thread of the command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/spool_file.h"

namespace velnor {

enum class SpoolState { WRITING, WAITING, CLAIMED };

// "writing", "waiting", "claimed".
const char* StateWord(SpoolState state);

struct SpoolEntry {
  std::string Name;
  SpoolState State = SpoolState::WAITING;
  std::int64_t Age = 0;   // seconds since it was made
  std::int64_t Size = 0;  // bytes
};

// The spool's files, the oldest first, or none if the directory can't be listed, or an entry not be looked
// at. Files of other names are no part of it.
std::optional<std::vector<SpoolEntry>> ScanSpool();

// A file's head lines and the header lines of its message.
struct SpoolContent {
  SpoolHead Head;
  std::vector<std::string> Header;
};

// Reads what a file holds, under the name of its next state if it has moved on. One that is being written may
// be without the later lines.
enum class SpoolLook { READ, GONE, UNREADABLE };
SpoolLook ReadSpoolFile(SpoolEntry& entry, SpoolContent& content);

}  // namespace velnor
