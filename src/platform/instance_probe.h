// A look from outside at the process that holds a single instance's name (platform/single_instance.h). It
// reads what the system tells of its processes and touches none of them but by RequestReload. No state; any
// thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct InstanceProcess {
  std::int64_t Id = 0;       // 0: this account may not look at the process, and nothing else is told of it
  std::int64_t Started = 0;  // seconds since 1970
  std::string Program;       // full path
  std::string Directory;     // where it works
  std::vector<int> Ports;    // the TCP ports on which it listens, in ascending order
};

// The live process that holds the name, or none.
std::optional<InstanceProcess> ProbeInstance(std::string_view name);

// Asks the process to read its files anew (SIGHUP). False if it does not hold the name any more, or if this
// account may not signal it.
bool RequestReload(std::string_view name, std::int64_t id);

}  // namespace platform
