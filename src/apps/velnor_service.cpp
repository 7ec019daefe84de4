// VelnorService: the server without a window, and its entry with the service manager.

#include <string_view>
#include <vector>

#include "apps/headless_host.h"
#include "apps/service_entry.h"
#include "platform/standard_output.h"

int main(int argc, char** argv) {
  platform::HoldStandardDescriptors();
  if (argc <= 1) return velnor::RunHeadlessHost();
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  const auto order = velnor::ReadServiceOrder(arguments);
  if (!order) {
    platform::WriteStandardError(velnor::SERVICE_USAGE);
    return 2;
  }
  return velnor::CarryOut(*order);
}
