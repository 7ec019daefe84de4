// The log viewer's work: what lies in the log directory, and the opening of one of its files. Console thread.
#pragma once

#include <string>
#include <vector>

#include "console/logic/prompter.h"

namespace velnor {

inline constexpr const char* LOG_VIEWER_TITLE = "Logs management";
inline constexpr const char* LOG_VIEWER_REMARK =
    "system will remove the log file 30 days ago\ndouble click the log file to view";

// The names of all entries of LogPath that are no directory, in alphabetical order without regard to ASCII
// case. Empty if the directory can't be read.
std::vector<std::string> ListLogFiles();

// Opens a file of LogPath with the desktop's viewer. No result.
void OpenLogFile(Prompter& prompter, const std::string& name);

}  // namespace velnor
