// A scan of one directory: its entries one after the other, with what mail needs to know of each. A scan
// belongs to the thread that opened it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/directory_walk.h"
#include "platform/fixed_text.h"

namespace velnor {

struct DirEntry {
  std::uint32_t Index = 0;       // place in the scan, from 1
  std::uint32_t NameLength = 0;  // bytes
  std::uint32_t Size = 0;        // bytes; the largest 32-bit number for a longer file
  platform::FixedText<257> Name;
  std::int64_t CreateTime = 0;  // seconds since 1970
  bool IsDirectory = false;
};

// What DirOpen gives; each DirNext overwrites Current.
struct DirScan {
  platform::DirectoryWalk Walk;
  bool Finished = false;
  DirEntry Current;
};

// Begins a scan. A directory that does not exist gives a scan without entries; any other failure gives none.
std::unique_ptr<DirScan> DirOpen(const std::string& directory);

// The next entry, "." and ".." among them, or none at the end, for a finished scan and for no scan. The entry
// stays valid until the next call. Where the file system keeps no creation time, the time in a mail file's
// name stands in for it, else that of the last change.
const DirEntry* DirNext(DirScan* scan);

}  // namespace velnor
