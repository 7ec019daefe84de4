// The command line of velnorctl: its commands, their arguments and options, and their help. One thread.
#pragma once

#include <string>
#include <vector>

#include "control/control.h"

namespace velnor {

// Runs the command that the arguments (without the program's name) ask for, and gives the exit status.
int RunCommandLine(const Surroundings& surroundings, const std::vector<std::string>& arguments);

}  // namespace velnor
