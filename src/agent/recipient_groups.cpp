#include "agent/recipient_groups.h"

#include <algorithm>

namespace velnor {

std::string RecipientGroup::AddressOf(std::string_view recipient) const {
  return std::string(recipient).append("@").append(Domain);
}

std::vector<RecipientGroup> GroupRecipients(std::string_view forward_path) {
  std::vector<RecipientGroup> groups;
  while (!forward_path.empty()) {
    const std::string_view piece = forward_path.substr(0, forward_path.find(','));
    forward_path = TextFrom(forward_path, piece.size() + 1);
    AgentUser user;
    AgentDomain domain;
    if (SplitAddress(piece, user, domain) == 0) continue;
    auto group = std::find_if(groups.begin(), groups.end(), [&domain](const RecipientGroup& candidate) {
      return EqualsIgnoreCase(candidate.Domain, domain);
    });
    if (group == groups.end())
      group = groups.insert(groups.end(), RecipientGroup{.Recipients = {}, .Domain = domain});
    if (group->Recipients.size() < GROUP_LIMIT) group->Recipients.emplace_back(user);
  }
  return groups;
}

}  // namespace velnor
