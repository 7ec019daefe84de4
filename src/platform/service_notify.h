// What a service tells the manager that started it: that it is ready, reads its files anew, or stops, and a
// line on what it does. The manager named the socket for this in $NOTIFY_SOCKET; without it nothing happens.
// A manager that does not listen holds the service up for some seconds at most. No state; any thread.
#pragma once

#include <string_view>

namespace platform {

// Whether a manager wants to be told anything.
bool HasServiceManager();

// The service does its work, for the first time or after NotifyReloading. `status` is the line on what it
// does, without a line end.
void NotifyReady(std::string_view status);
void NotifyStatus(std::string_view status);

// The service begins to read its files anew; NotifyReady follows.
void NotifyReloading();

// The service begins to end.
void NotifyStopping(std::string_view status);

}  // namespace platform
