#include "control/commands.h"
#include "control/local_address.h"
#include "core/accounts.h"
#include "core/mail_store.h"

namespace velnor {

int Mailbox(Control& control, const Arguments& arguments) {
  const std::optional<EditRequest> place = ExistingAccount(control, arguments.First);
  if (!place) return REFUSED;
  std::int32_t messages = 0;
  std::int64_t bytes = 0;
  MeasureMailbox(UserDirectory(place->Domain, place->Account).value_or(""), messages, bytes);
  const UserProfile profile = LoadProfile(place->Domain, place->Account);
  constexpr std::int64_t MEGABYTE = 1'048'576;
  control.Show(Record{{"address", place->Account + "@" + place->Domain},
                      {"messages", static_cast<std::int64_t>(messages)},
                      {"bytes", bytes},
                      {"quota_messages", static_cast<std::int64_t>(profile.MaxMailNum)},
                      {"quota_bytes", profile.MailBoxSize * MEGABYTE}});
  return DONE;
}

}  // namespace velnor
