// The delivery agent: one scheduler thread that claims spool files, and a worker thread for each claimed
// file, at most 100 at a time. The spool is its whole memory, so a restart loses nothing that waits.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "platform/thread.h"

namespace velnor {

inline constexpr int AGENT_SLOTS = 100;

// One slot of the agent. The scheduler fills a free one; it then belongs to its worker, which zeroes it at
// its end.
struct AgentTask {
  int SlotIndex = 0;
  std::uint32_t ThreadId = 0;  // the worker's: the number in its log lines and file names
  std::string SpoolPath;       // full path of the claimed file
  std::atomic<platform::ThreadHandle> ThreadHandle = 0;  // 0 marks the slot free

  void Zero();
};

// Brings back what an earlier process had claimed, and starts the scheduler. Console thread.
void AgentStart();

// Ends the scheduler and waits until every worker has finished the message that it has. Console thread.
void AgentStop();

// Workers at this moment. Any thread, no lock.
int AgentWorkerCount();

// Whether a stop waits for the workers. Any thread.
bool IsAgentStopping();

// For a worker's end: takes it off the count.
void LeaveAgent();

}  // namespace velnor
