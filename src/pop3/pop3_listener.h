// The POP3 service: its port, its sessions, and their start and stop (core/session_service.h has the
// machinery).
#pragma once

#include "core/session_service.h"

namespace velnor {

// The service's table, counter and lock. Sessions find their slots here.
extern SessionService g_Pop3Service;

// Console thread. A failed start is told by a log line at most; a stop returns when all sessions have ended.
void Pop3Start();
void Pop3Stop();

// Sessions at this moment. Any thread, no lock.
int Pop3SessionCount();

}  // namespace velnor
