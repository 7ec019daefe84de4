#include "core/paths.h"

#include <fnmatch.h>

#include "platform/directory_walk.h"
#include "platform/file.h"

namespace velnor {
namespace {

bool FitsKind(const std::string& path, PathFlag flag) {
  const platform::PathKind kind = platform::ProbePath(path);
  if (flag == PathFlag::DIRECTORY) return kind == platform::PathKind::DIRECTORY;
  return kind != platform::PathKind::MISSING && kind != platform::PathKind::UNKNOWN;
}

bool AnyMatch(const std::string& parent, const std::string& pattern, PathFlag flag) {
  platform::DirectoryWalk walk;
  if (walk.Open(parent.empty() ? "/" : parent) != 0) return false;
  platform::WalkEntry entry;
  while (walk.Next(entry)) {
    if (::fnmatch(pattern.c_str(), entry.name.c_str(), FNM_CASEFOLD | FNM_NOESCAPE) != 0) continue;
    if (FitsKind(JoinPath(parent, entry.name), flag)) return true;
  }
  return false;
}

}  // namespace

int PathExists(const std::string& path, PathFlag flag) {
  if (FitsKind(path, flag)) return 1;
  const std::size_t cut = path.rfind(platform::SEPARATOR);
  const std::string last = cut == std::string::npos ? path : path.substr(cut + 1);
  if (last.find_first_of("*?") == std::string::npos) return 0;
  return AnyMatch(cut == std::string::npos ? "." : path.substr(0, cut), last, flag) ? 1 : 0;
}

std::string AppDirectory() {
  const std::string program = platform::ProgramPath();
  return program.substr(0, program.rfind(platform::SEPARATOR));
}

std::string JoinPath(const std::string& parent, const std::string& name) {
  return parent + platform::SEPARATOR + name;
}

}  // namespace velnor
