// The lines of a mail list file that a load passes over, and a save therefore takes out. The thread of the
// command.
#pragma once

#include <string>
#include <vector>

namespace velnor {

// "line N: what is wrong" for each, measured against the lists that g_SystemConfig has loaded from the file.
// Comments and empty lines are no fault.
std::vector<std::string> DroppedMailListLines(const std::string& path);

}  // namespace velnor
