// The platform's host look-up: names to IPv4 addresses, by the system's own resolver. Blocks; any thread.
#pragma once

#include <string_view>
#include <vector>

#include "platform/socket.h"

namespace platform {

// The addresses of a host, in the resolver's order; a dotted address is its own answer. Empty if the name is
// empty or not known.
std::vector<DottedAddress> LookupHost(std::string_view name);

// The address of the first name server that the system itself uses, or an empty text where it has none of
// IPv4.
DottedAddress SystemNameServer();

}  // namespace platform
