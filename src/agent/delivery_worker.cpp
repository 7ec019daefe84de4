#include "agent/delivery_worker.h"

#include <algorithm>
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

void DeliverSpoolFile(const std::string& spool_path, std::uint32_t thread_id) {
  const int log_id = static_cast<int>(thread_id);
  Delivery delivery;
  delivery.ThreadId = thread_id;
  const int error = delivery.SpoolFile.Open(spool_path);
  WriteLog(LOG_AGENT, "[%d]Agent Thread started...[%s]", log_id, spool_path.c_str());
  if (error == 0) {
    Deliver(delivery);
  } else {
    // One that is not there is passed over, and not deleted either: it may be back with the disk that it lies
    // on.
    delivery.Fault = error != ENOENT;
  }
  delivery.SpoolFile.Close();
  if (delivery.Fault) {
    WriteLog(LOG_AGENT, "[%d]spool file is kept for the next start, %s", log_id, spool_path.c_str());
  } else if (error == 0 && platform::DeleteFile(spool_path) != 0) {
    WriteLog(LOG_AGENT, "[%d]spool file can't be deleted, %s", log_id, spool_path.c_str());
  }
}

void AgentWorkerThread(AgentTask& task) {
  task.ThreadId = platform::CurrentThreadId();
  DeliverSpoolFile(task.SpoolPath, task.ThreadId);
  LeaveAgent();
  platform::CloseThreadHandle(task.ThreadHandle);
  WriteLog(LOG_AGENT, "[%d]Agent Thread ended...", static_cast<int>(task.ThreadId));
  task.Zero();
}

bool IsLocalMail(const std::string& spool_path) {
  platform::TextReader file;
  SpoolHead head;
  if (file.Open(spool_path) != 0 || !ReadForwardPath(file, head)) return false;
  const std::vector<RecipientGroup> groups = GroupRecipients(head.ForwardPath);
  return !groups.empty() && std::all_of(groups.begin(), groups.end(), [](const RecipientGroup& group) {
    return g_SystemConfig.IsLocalDomain(group.Domain) == 1;
  });
}

}  // namespace velnor
