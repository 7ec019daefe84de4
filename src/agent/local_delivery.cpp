#include "agent/local_delivery.h"

#include <string>

#include "agent/generated_mail.h"
#include "agent/spool_queue.h"
#include "core/mail_file.h"
#include "core/mail_store.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {
namespace {

bool StoreInInbox(platform::TextReader& spool_file, std::uint32_t thread_id, const std::string& inbox) {
  MailFile message;
  if (message.Create(inbox, MailPlace::INBOX, thread_id) != 0) return false;
  return message.CopyFrom(spool_file) && message.Publish();
}

}  // namespace

int LocalDeliver(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view user,
                 std::string_view domain, std::string_view sender) {
  std::string inbox;
  const InboxState state = FindInbox(domain, user, inbox);
  if (state == InboxState::MISSING) return 0;
  if (state == InboxState::FAULT) return DELIVERY_FAULT;
  const bool forwarded_only = ForwardMail(spool_file, thread_id, user, domain) != 0;
  if (!forwarded_only && !StoreInInbox(spool_file, thread_id, inbox)) return DELIVERY_FAULT;
  AutoRespond(thread_id, user, domain, sender);
  return FanOutMailList(spool_file, thread_id, user, domain, sender);
}

int FanOutMailList(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view user,
                   std::string_view domain, std::string_view sender) {
  FixedText<127> address(user);
  address.Append("@");
  address.Append(domain);
  const auto list = g_SystemConfig.FindMailList(address);
  if (list == nullptr) return 1;
  const auto poster = g_SystemConfig.FindListMember(address, sender);
  if (!poster || poster->Permission != 0) return 1;
  int result = 1;
  for (const MailListMember& member : list->Members) {
    // A list that is its own member would send to itself for ever.
    if (EqualsIgnoreCase(member.Address, list->Name)) continue;
    if (RequeueMail(spool_file, thread_id, member.Address, sender, 0) == 0) result = DELIVERY_FAULT;
  }
  return result;
}

}  // namespace velnor
