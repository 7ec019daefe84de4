#include "control/commands.h"
#include "control/local_address.h"
#include "core/accounts.h"

namespace velnor {

int Mailbox(Control& control, const Arguments& arguments) {
  const std::optional<EditRequest> place = ExistingAccount(control, arguments.First);
  if (!place) return REFUSED;
  const std::optional<MailboxFigures> figures = MeasureAccount(control, *place);
  if (!figures) return REFUSED;
  const UserProfile profile = LoadProfile(place->Domain, place->Account);
  constexpr std::int64_t MEGABYTE = 1'048'576;
  control.Show(Record{{"address", place->Account + "@" + place->Domain},
                      {"messages", figures->Messages},
                      {"bytes", figures->Bytes},
                      {"quota_messages", static_cast<std::int64_t>(profile.MaxMailNum)},
                      {"quota_bytes", profile.MailBoxSize * MEGABYTE}});
  return DONE;
}

}  // namespace velnor
