#include "console/logic/log_viewer.h"

#include <algorithm>
#include <utility>

#include "core/dir_scan.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {

std::vector<std::string> ListLogFiles() {
  std::vector<std::string> names;
  const auto scan = DirOpen(g_SystemConfig.LogPath.Get());
  while (const DirEntry* entry = DirNext(scan.get())) {
    if (!entry->IsDirectory) names.emplace_back(entry->Name.View());
  }
  std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    return std::pair(LowerCase(a), a) < std::pair(LowerCase(b), b);
  });
  return names;
}

void OpenLogFile(Prompter& prompter, const std::string& name) {
  prompter.OpenExternally(JoinPath(g_SystemConfig.LogPath.Get(), name));
}

}  // namespace velnor
