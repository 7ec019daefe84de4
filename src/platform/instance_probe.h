// A look from outside at the process that holds a single instance's name (platform/single_instance.h). It
// reads what the system tells of its processes and touches none of them but by RequestReload. No state; any
// thread.
//
// Which process holds the name is told by its descriptors, and those are open to an administrator and to the
// process's own account, unless the process has a capability that this account has not. Otherwise only this
// is known: it is one of the processes that can't be looked at. Of these everybody may read the short name,
// which is the program's file name, at most 15 bytes of it, as long as the process has not given itself
// another. A system that hides the processes of others (hidepid) shows none of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// A process that this account may not look at.
struct HiddenProcess {
  std::int64_t Id = 0;
  std::string Name;  // the short one
};

struct InstanceProcess {
  std::int64_t Id = 0;       // 0: this account may not look at the process, and only `Hidden` is told of it
  std::int64_t Started = 0;  // seconds since 1970
  std::string Program;       // full path
  std::string Directory;     // where it works
  std::vector<int> Ports;    // the TCP ports on which it listens, in ascending order

  std::vector<HiddenProcess> Hidden;  // those of which one is the process; empty if it is known
};

// The live process that holds the name, or none.
std::optional<InstanceProcess> ProbeInstance(std::string_view name);

// Asks the process to read its files anew (SIGHUP). False if it does not hold the name any more, as far as
// this account can see, or if this account may not signal it.
bool RequestReload(std::string_view name, std::int64_t id);

}  // namespace platform
