// Where things are: the program's directory, and what stands at a path. No state; any thread.
#pragma once

#include <string>

namespace velnor {

enum class PathFlag { ANYTHING = 0, DIRECTORY = 1 };

// 1 if the path leads to something, with DIRECTORY only if that is a directory; else 0. The last part of the
// path may be a pattern of "*" and "?", and then any match counts. A path that can't be looked at gives 0.
int PathExists(const std::string& path, PathFlag flag);

// The directory of the running program, without a separator at its end.
std::string AppDirectory();

// "parent/name".
std::string JoinPath(const std::string& parent, const std::string& name);

}  // namespace velnor
