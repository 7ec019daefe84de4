#include "agent/recipient_groups.h"

#include <gtest/gtest.h>

namespace velnor {
namespace {

using namespace std::string_literals;

TEST(GroupRecipients, SortsByDomainAndDropsWhatGoesBeyondAHundredOfOne) {
  std::string full_group = "one:";
  std::string one_domain;
  for (int i = 1; i <= 101; ++i) {
    one_domain += std::to_string(i) + "@one,";
    if (i <= 100) full_group += " " + std::to_string(i);
  }
  const std::pair<std::string, std::string> cases[] = {
      {"nobody,,", ""},
      {",,a@two,b@one,,c@TWO,nobody,a@two,", "two: a c a; one: b; "},
      {"@one,a@,a@one@two", "one: ; : a; one@two: a; "},
      {"a@"s + std::string(60, 'd') + ",b@" + std::string(49, 'D'), std::string(49, 'd') + ": a b; "},
      {std::string(120, 'u') + "@one", "one: " + std::string(99, 'u') + "; "},
      {one_domain + "last@two", full_group + "; two: last; "},
  };
  for (const auto& [forward_path, expected] : cases) {
    std::string groups;
    for (const RecipientGroup& group : GroupRecipients(forward_path)) {
      groups += group.Domain.c_str() + ":"s;
      for (const auto& recipient : group.Recipients) groups.append(" ").append(recipient);
      groups += "; ";
    }
    EXPECT_EQ(groups, expected) << forward_path;
  }
}

}  // namespace
}  // namespace velnor
