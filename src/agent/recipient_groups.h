// The recipients of one message, sorted into groups by domain. Pure functions on text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/text.h"

namespace velnor {

inline constexpr std::size_t GROUP_LIMIT = 100;  // recipients of one domain in one message; more are dropped

struct RecipientGroup {
  std::vector<FixedText<99>> Recipients;  // the parts before the at sign
  AgentDomain Domain;                     // as spelled at its first appearance

  // "user@domain" of one recipient.
  std::string AddressOf(std::string_view recipient) const;
};

// The groups in the order in which their domains first appear in a list joined by ",". A piece without an at
// sign is skipped; domains that differ in case alone are one group.
std::vector<RecipientGroup> GroupRecipients(std::string_view forward_path);

}  // namespace velnor
