#include "agent/agent.h"

#include <algorithm>

#include "agent/delivery_worker.h"
#include "agent/spool_queue.h"
#include "core/log_service.h"
#include "platform/lock.h"

namespace velnor {
namespace {

constexpr int IDLE_PAUSE_MS = 100;
constexpr int LAST_SLOT_PAUSE_MS = 100;
constexpr int FULL_PAUSE_MS = 1000;
constexpr int STOP_TURN_MS = 10;

std::array<AgentTask, AGENT_SLOTS> AgentTaskTable;
std::atomic<std::int32_t> AgentRunning = 0;
std::atomic<std::int32_t> g_WorkerCount = 0;  // changed under AgentLock, read without it
platform::CriticalSection AgentLock;
platform::ThreadHandle g_SchedulerThread = 0;

bool IsFree(const AgentTask& task) {
  return task.ThreadHandle == 0;
}

// The first free slot. While all are taken the claimed file waits here, also when the agent is about to stop.
AgentTask& WaitForSlot() {
  for (;;) {
    const auto slot = std::find_if(AgentTaskTable.begin(), AgentTaskTable.end(), IsFree);
    if (slot != AgentTaskTable.end()) {
      slot->SlotIndex = static_cast<int>(slot - AgentTaskTable.begin());
      if (slot->SlotIndex == AGENT_SLOTS - 1) platform::SleepMilliseconds(LAST_SLOT_PAUSE_MS);
      return *slot;
    }
    platform::SleepMilliseconds(FULL_PAUSE_MS);
  }
}

void StartWorker(AgentTask& task) {
  const auto count_in = [&task](platform::ThreadHandle handle) {
    task.ThreadHandle = handle;
    platform::SectionGuard guard(AgentLock);
    ++g_WorkerCount;
  };
  // Without a thread the slot stays free, and the file stays claimed until the next start brings it back.
  if (platform::StartThread([&task] { AgentWorkerThread(task); }, count_in) == 0) task.Zero();
}

void AgentSchedulerLoop() {
  WriteLog(LOG_AGENT, "AGENT server started");
  while (AgentRunning != 0) {
    std::string spool_path;
    if (ClaimNextSpoolFile(spool_path) == 0) {
      platform::SleepMilliseconds(IDLE_PAUSE_MS);
      continue;
    }
    AgentTask& task = WaitForSlot();
    task.SpoolPath = spool_path;
    StartWorker(task);
  }
  WriteLog(LOG_AGENT, "AGENT server ended");
}

}  // namespace

void AgentTask::Zero() {
  SlotIndex = 0;
  ThreadId = 0;
  SpoolPath.clear();
  ThreadHandle = 0;
}

void AgentStart() {
  for (AgentTask& task : AgentTaskTable) task.Zero();
  g_WorkerCount = 0;
  RecoverSpool();
  AgentRunning = 1;
  g_SchedulerThread = platform::StartThread(AgentSchedulerLoop);
}

void AgentStop() {
  AgentRunning = 0;
  platform::JoinThread(g_SchedulerThread);
  g_SchedulerThread = 0;
  const auto is_busy = [](const AgentTask& task) { return !IsFree(task); };
  // A worker leaves the count before its last words and its slot behind them.
  while (g_WorkerCount > 0 || std::any_of(AgentTaskTable.begin(), AgentTaskTable.end(), is_busy)) {
    platform::SleepMilliseconds(STOP_TURN_MS);
  }
}

int AgentWorkerCount() {
  return g_WorkerCount;
}

void LeaveAgent() {
  platform::SectionGuard guard(AgentLock);
  --g_WorkerCount;
}

}  // namespace velnor
