#include "agent/delivery.h"

#include "agent/generated_mail.h"
#include "agent/local_delivery.h"
#include "agent/spool_queue.h"
#include "core/log_service.h"

namespace velnor {

void RequeueGroup(Delivery& delivery, const RecipientGroup& group) {
  for (const auto& recipient : group.Recipients) {
    if (RequeueMail(delivery.SpoolFile, delivery.ThreadId, group.AddressOf(recipient),
                    delivery.Head.ReturnPath, delivery.Head.RetryTimes) == 0) {
      delivery.Fault = true;
    }
  }
}

void NotifySender(Delivery& delivery, const RecipientGroup& group, std::string_view recipient,
                  std::string_view reason) {
  if (SendBounce(delivery.SpoolFile, delivery.ThreadId, group.AddressOf(recipient), delivery.Head.ReturnPath,
                 reason) == DELIVERY_FAULT) {
    delivery.Fault = true;
  }
}

bool DeliverLocalGroup(Delivery& delivery, const RecipientGroup& group) {
  const int thread_id = static_cast<int>(delivery.ThreadId);
  bool delivered = false;
  for (const auto& recipient : group.Recipients) {
    const std::string address = LogSafe(group.AddressOf(recipient));
    const int result = LocalDeliver(delivery.SpoolFile, delivery.ThreadId, recipient, group.Domain,
                                    delivery.Head.ReturnPath);
    delivered = result == 1;
    if (delivered) {
      WriteLog(LOG_AGENT, "[%d]send mail to local user [OK], <%s>", thread_id, address.c_str());
    } else if (result == DELIVERY_FAULT) {
      delivery.Fault = true;
      WriteLog(LOG_AGENT, "[%d]send mail to local user [Kept], <%s>", thread_id, address.c_str());
    } else {
      NotifySender(delivery, group, recipient, "550 Invalid User");
      WriteLog(LOG_AGENT, "[%d]send mail to local user [Failed], <%s>, bounce to sender<%s>", thread_id,
               address.c_str(), LogSafe(delivery.Head.ReturnPath).c_str());
    }
  }
  return delivered;
}

}  // namespace velnor
