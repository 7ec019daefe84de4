// A first word with a service, as a monitor has it. The thread of the command.
#pragma once

#include <string>

namespace velnor {

// The line with which a service greets on a port of the loopback, without its line end; empty if none comes
// within 5 seconds. The session is ended in order.
std::string ReadGreeting(int port);

}  // namespace velnor
