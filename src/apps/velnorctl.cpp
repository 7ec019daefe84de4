// velnorctl: the administration of the server from the command line.

#include "control/command_line.h"
#include "control/standard_terminal.h"
#include "core/paths.h"
#include "core/server_app.h"
#include "platform/file.h"
#include "platform/instance_probe.h"
#include "platform/socket.h"
#include "platform/standard_output.h"

int main(int argc, char** argv) {
  platform::HoldStandardDescriptors();
  platform::StartFiles();
  platform::StartSockets();
  velnor::StandardTerminal terminal;
  const velnor::Surroundings surroundings{
      terminal, velnor::AppDirectory(), [] { return platform::ProbeInstance(velnor::INSTANCE_NAME); },
      [](std::int64_t id) { return platform::RequestReload(velnor::INSTANCE_NAME, id); }};
  const int status = velnor::RunCommandLine(surroundings, {argv + 1, argv + argc});
  return terminal.Finish() || status != velnor::DONE ? status : velnor::REFUSED;
}
