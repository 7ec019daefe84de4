// The delivery worker: the thread that delivers one claimed spool file to its end.
//
// It reads the head, sorts the recipients into groups by domain, delivers group after group, and decides for
// each failure between a new copy in the spool and a notice to the sender. Then it deletes the spool file,
// unless a fault of the disk or the process has left it the only whole copy of the message.
#pragma once

#include "agent/agent.h"

namespace velnor {

// The body of a worker's thread; the slot is its own until the last step frees it.
void AgentWorkerThread(AgentTask& task);

// Delivers one claimed spool file on the calling thread, whose id stands in the log lines and file names.
void DeliverSpoolFile(const std::string& spool_path, std::uint32_t thread_id);

// Whether all recipients of a spool file are of local domains, so that its delivery waits for no other host.
bool IsLocalMail(const std::string& spool_path);

}  // namespace velnor
