// One message on its way out: what the local and the remote road of a delivery have in common. Belongs to its
// worker.
#pragma once

#include <cstdint>

#include "agent/recipient_groups.h"
#include "core/spool_file.h"
#include "core/text.h"
#include "platform/text_stream.h"

namespace velnor {

struct Delivery {
  platform::TextReader SpoolFile;  // stands at the first byte of the message text once the head is read
  std::uint32_t ThreadId = 0;
  SpoolHead Head;
  AgentDomain SenderDomain;

  // The disk or the process was at fault somewhere: the spool file may be the only whole copy.
  bool Fault = false;
};

// Puts a copy for each recipient of a group back into the spool.
void RequeueGroup(Delivery& delivery, const RecipientGroup& group);

// Tells the sender that one recipient of a group was not reached.
void NotifySender(Delivery& delivery, const RecipientGroup& group, std::string_view recipient,
                  std::string_view reason);

// Delivers to a group of a local or of a remote domain. True if the last recipient, or the whole group, was
// served.
bool DeliverLocalGroup(Delivery& delivery, const RecipientGroup& group);
bool DeliverRemoteGroup(Delivery& delivery, const RecipientGroup& group);

}  // namespace velnor
