// The services that every program of the server runs.
#pragma once

#include <span>

#include "core/server_app.h"

namespace velnor {

// POP3, SMTP and the delivery agent, in the order of starting and stopping.
std::span<const Service> AllServices();

}  // namespace velnor
