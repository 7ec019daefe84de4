// The headless host: the server in the foreground, without a window. Log lines go to standard output,
// refusals to standard error. SIGTERM and SIGINT end it in order, SIGHUP makes it read its configuration
// anew. A service manager that started it is told when the services stand, when they are reloaded or stopped,
// and how many sessions and deliveries there are.
#pragma once

namespace velnor {

// Runs the server with the configuration of the working directory until a signal ends it. The exit status: 0
// after an orderly end; 1 if another instance runs, or if the services could not be started.
int RunHeadlessHost();

}  // namespace velnor
