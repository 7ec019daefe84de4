#include "core/dir_scan.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "core/mail_file_name.h"

namespace velnor {
namespace {

std::int64_t CreationTime(const platform::WalkEntry& found) {
  if (found.created) return *found.created;
  return MailFileTime(found.name).value_or(found.changed / 1000);
}

}  // namespace

std::unique_ptr<DirScan> DirOpen(const std::string& directory) {
  auto scan = std::make_unique<DirScan>();
  std::string path = directory;
  if (path.size() > 1 && path.back() == '/') path.pop_back();
  const int error = scan->Walk.Open(path);
  if (error == ENOENT || error == ENOTDIR) {
    scan->Finished = true;
  } else if (error != 0) {
    return nullptr;
  }
  return scan;
}

const DirEntry* DirNext(DirScan* scan) {
  if (scan == nullptr || scan->Finished) return nullptr;
  platform::WalkEntry found;
  if (!scan->Walk.Next(found)) {
    scan->Finished = true;
    return nullptr;
  }
  DirEntry& entry = scan->Current;
  ++entry.Index;
  entry.Name.Set(found.name);
  entry.NameLength = static_cast<std::uint32_t>(entry.Name.size());
  entry.Size = static_cast<std::uint32_t>(std::min<std::uint64_t>(found.size, UINT32_MAX));
  entry.CreateTime = CreationTime(found);
  entry.IsDirectory = found.isDirectory;
  return &entry;
}

}  // namespace velnor
