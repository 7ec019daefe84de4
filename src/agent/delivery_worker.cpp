#include "agent/delivery_worker.h"

#include <cerrno>

#include "agent/delivery.h"
#include "agent/generated_mail.h"
#include "core/log_service.h"
#include "core/system_config.h"
#include "platform/file.h"

namespace velnor {
namespace {

constexpr std::int32_t LAST_RETRY = 3;  // a count above it is not attempted any more

// Reads the head lines. False if one of them is missing or out of order, or the sender is no address; such a
// file ends undelivered.
bool ReadHead(Delivery& delivery, std::vector<RecipientGroup>& groups) {
  if (!ReadForwardPath(delivery.SpoolFile, delivery.Head)) return false;
  groups = GroupRecipients(delivery.Head.ForwardPath);
  if (!ReadReturnPath(delivery.SpoolFile, delivery.Head)) return false;
  AgentUser sender_user;
  if (SplitAddress(delivery.Head.ReturnPath, sender_user, delivery.SenderDomain) == 0) return false;
  return ReadRetryTimes(delivery.SpoolFile, delivery.Head);
}

void DeliverGroup(Delivery& delivery, const RecipientGroup& group) {
  const bool local = g_SystemConfig.IsLocalDomain(group.Domain) == 1;
  const bool delivered = local ? DeliverLocalGroup(delivery, group) : DeliverRemoteGroup(delivery, group);
  WriteLog(LOG_AGENT, "[%d]send mail [%s] to %s from <%s> done, retry=%d",
           static_cast<int>(delivery.ThreadId), delivered ? "TRUE" : "FALSE", LogSafe(group.Domain).c_str(),
           LogSafe(delivery.Head.ReturnPath).c_str(), delivery.Head.RetryTimes);
}

void Deliver(Delivery& delivery) {
  std::vector<RecipientGroup> groups;
  if (!ReadHead(delivery, groups)) {
    delivery.Fault = delivery.SpoolFile.Failed();
    return;
  }
  if (delivery.Head.RetryTimes > LAST_RETRY) {
    delivery.Fault =
        SendBounce(delivery.SpoolFile, delivery.ThreadId, delivery.Head.ForwardPath, delivery.Head.ReturnPath,
                   "can not connect the remote SMTP server") == DELIVERY_FAULT;
    return;
  }
  for (const RecipientGroup& group : groups) DeliverGroup(delivery, group);
}

}  // namespace

void AgentWorkerThread(AgentTask& task) {
  task.ThreadId = platform::CurrentThreadId();
  const int thread_id = static_cast<int>(task.ThreadId);
  {
    Delivery delivery;
    delivery.ThreadId = task.ThreadId;
    const int error = delivery.SpoolFile.Open(task.SpoolPath);
    WriteLog(LOG_AGENT, "[%d]Agent Thread started...[%s]", thread_id, task.SpoolPath.c_str());
    if (error == 0) {
      Deliver(delivery);
    } else {
      delivery.Fault = error != ENOENT;
    }
    delivery.SpoolFile.Close();
    if (delivery.Fault) {
      WriteLog(LOG_AGENT, "[%d]spool file is kept for the next start, %s", thread_id, task.SpoolPath.c_str());
    } else if (error == 0) {
      // One that was not there is not deleted: it may be back together with the disk that it lies on.
      platform::DeleteFile(task.SpoolPath);
    }
  }
  LeaveAgent();
  platform::CloseThreadHandle(task.ThreadHandle);
  WriteLog(LOG_AGENT, "[%d]Agent Thread ended...", thread_id);
  task.Zero();
}

}  // namespace velnor
