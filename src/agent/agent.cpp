#include "agent/agent.h"

#include <algorithm>
#include <unordered_set>

#include "agent/delivery_worker.h"
#include "agent/spool_queue.h"
#include "core/log_service.h"
#include "platform/lock.h"

namespace velnor {
namespace {

constexpr int IDLE_PAUSE_MS = 100;
constexpr int LAST_SLOT_PAUSE_MS = 100;
constexpr int TURNS_TO_SLOT_SEARCH = 10;  // so once a second, while all slots are taken
constexpr int STOP_TURN_MS = 10;

std::array<AgentTask, AGENT_SLOTS> AgentTaskTable;
std::atomic<std::int32_t> AgentRunning = 0;
std::atomic<bool> g_Stopping = false;         // from the begin of a stop to its end
std::atomic<std::int32_t> g_WorkerCount = 0;  // changed under AgentLock, read without it
platform::CriticalSection AgentLock;
platform::ThreadHandle g_SchedulerThread = 0;

bool IsFree(const AgentTask& task) {
  return task.ThreadHandle == 0;
}

// The first free slot, or none while all are taken.
AgentTask* FindFreeSlot() {
  const auto slot = std::find_if(AgentTaskTable.begin(), AgentTaskTable.end(), IsFree);
  if (slot == AgentTaskTable.end()) return nullptr;
  slot->SlotIndex = static_cast<int>(slot - AgentTaskTable.begin());
  if (slot->SlotIndex == AGENT_SLOTS - 1) platform::SleepMilliseconds(LAST_SLOT_PAUSE_MS);
  return &*slot;
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

// Local mail is a matter of the disk alone and takes no time to speak of. While a hundred slow exchanges hold
// all slots, the scheduler delivers it with its own hands, so that it arrives as ever.
void DeliverHere(const std::string& spool_path) {
  const std::uint32_t thread_id = platform::CurrentThreadId();
  DeliverSpoolFile(spool_path, thread_id);
  WriteLog(LOG_AGENT, "[%d]Agent Thread ended...", static_cast<int>(thread_id));
}

// One turn of the scheduler while no slot is free: delivers the next local message, or pauses without one.
void TakeTurnWithoutSlot(const SpoolFilter& is_local) {
  std::string spool_path;
  if (AgentRunning != 0 && ClaimNextSpoolFile(spool_path, is_local) == 1) {
    DeliverHere(spool_path);
  } else {
    platform::SleepMilliseconds(IDLE_PAUSE_MS);
  }
}

// A free slot, which is looked for once a second, also when the agent is about to stop.
AgentTask& WaitForSlot() {
  std::unordered_set<std::string> remote;  // what waits for a slot is opened once, not in each turn
  const SpoolFilter is_local = [&remote](const std::string& path) {
    if (remote.contains(path)) return false;
    const bool local = IsLocalMail(path);
    if (!local) remote.insert(path);
    return local;
  };
  for (int turn = 1;; ++turn) {
    TakeTurnWithoutSlot(is_local);
    if (turn % TURNS_TO_SLOT_SEARCH != 0) continue;
    if (AgentTask* const task = FindFreeSlot()) return *task;
  }
}

// Brings one claimed file on its way. Without a free slot it waits here, unless it is local mail.
void Dispatch(const std::string& spool_path) {
  AgentTask* const free_slot = FindFreeSlot();
  if (free_slot == nullptr && IsLocalMail(spool_path)) {
    DeliverHere(spool_path);
    return;
  }
  AgentTask& task = free_slot != nullptr ? *free_slot : WaitForSlot();
  task.SpoolPath = spool_path;
  StartWorker(task);
}

void AgentSchedulerLoop() {
  WriteLog(LOG_AGENT, "AGENT server started");
  while (AgentRunning != 0) {
    std::string spool_path;
    if (ClaimNextSpoolFile(spool_path) == 1) {
      Dispatch(spool_path);
    } else {
      platform::SleepMilliseconds(IDLE_PAUSE_MS);
    }
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
  g_Stopping = true;
  AgentRunning = 0;
  platform::JoinThread(g_SchedulerThread);
  g_SchedulerThread = 0;
  const auto is_busy = [](const AgentTask& task) { return !IsFree(task); };
  // A worker leaves the count before its last words and its slot behind them.
  while (g_WorkerCount > 0 || std::any_of(AgentTaskTable.begin(), AgentTaskTable.end(), is_busy)) {
    platform::SleepMilliseconds(STOP_TURN_MS);
  }
  g_Stopping = false;
}

int AgentWorkerCount() {
  return g_WorkerCount;
}

bool IsAgentStopping() {
  return g_Stopping;
}

void LeaveAgent() {
  platform::SectionGuard guard(AgentLock);
  --g_WorkerCount;
}

}  // namespace velnor
