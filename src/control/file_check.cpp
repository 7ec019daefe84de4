#include "control/file_check.h"

#include <cerrno>

#include "core/dir_scan.h"
#include "core/paths.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/file_rights.h"

namespace velnor {

namespace {

bool CheckPath(const std::string& path, platform::PathKind kind, std::uint32_t unsafe_bits,
               std::vector<ConfigFault>& faults) {
  if (platform::ProbePath(path) == platform::PathKind::MISSING) return false;
  const int error = platform::CheckReadable(path, kind);
  if (error == ENOENT) return false;
  if (error != 0) faults.push_back({path, "It can't be read: " + platform::ErrorText(error) + "."});
  const auto rights = platform::RightsOf(path);
  if (rights && (rights->Mode & unsafe_bits) != 0) {
    const char* const what = (rights->Mode & unsafe_bits & WRITABLE_BY_OTHERS) != 0 ? "change" : "read";
    faults.push_back({path, FormatText("Its mode %03o is unsafe: others can %s it.", rights->Mode, what)});
  }
  return error == 0;
}

}  // namespace

bool CheckFile(const std::string& path, std::uint32_t unsafe_bits, std::vector<ConfigFault>& faults) {
  return CheckPath(path, platform::PathKind::FILE, unsafe_bits, faults);
}

bool CheckDirectory(const std::string& path, std::uint32_t unsafe_bits, std::vector<ConfigFault>& faults) {
  return CheckPath(path, platform::PathKind::DIRECTORY, unsafe_bits, faults);
}

void CheckFilesOf(const std::string& directory, std::vector<ConfigFault>& faults) {
  const auto scan = DirOpen(directory);
  while (const DirEntry* entry = DirNext(scan.get())) {
    if (!entry->IsDirectory) CheckFile(JoinPath(directory, entry->Name.c_str()), 0, faults);
  }
}

}  // namespace velnor
