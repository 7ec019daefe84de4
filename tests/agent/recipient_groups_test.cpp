#include "agent/recipient_groups.h"

#include <gtest/gtest.h>

namespace velnor {
namespace {

using namespace std::string_literals;

// The groups as "domain: user user".
std::vector<std::string> Groups(std::string_view forward_path) {
  std::vector<std::string> shown;
  for (const RecipientGroup& group : GroupRecipients(forward_path)) {
    shown.push_back(std::string(group.Domain) + ":");
    for (const auto& recipient : group.Recipients) shown.back().append(" ").append(recipient);
  }
  return shown;
}

TEST(GroupRecipients, SortsByDomainInTheOrderOfFirstAppearance) {
  const struct {
    std::string forward_path;
    std::vector<std::string> groups;
  } cases[] = {
      {"nobody,,", {}},
      {"a@two,b@one,c@TWO,a@two", {"two: a c a", "one: b"}},
      {",,a@one,nobody,,b@one,", {"one: a b"}},
      {"@one,a@", {"one: ", ": a"}},
      {"a@one@two", {"one@two: a"}},
      {"a@"s + std::string(60, 'd') + ",b@" + std::string(49, 'D'), {std::string(49, 'd') + ": a b"}},
      {std::string(120, 'u') + "@one", {"one: " + std::string(99, 'u')}},
  };
  for (const auto& [forward_path, groups] : cases) EXPECT_EQ(Groups(forward_path), groups) << forward_path;
}

TEST(GroupRecipients, DropsWhatGoesBeyondAHundredOfOneDomain) {
  std::string one_domain;
  for (int i = 1; i <= 101; ++i) one_domain += std::to_string(i) + "@one,";
  const auto groups = GroupRecipients(one_domain + "last@two");
  ASSERT_EQ(groups.size(), 2U);
  ASSERT_EQ(groups[0].Recipients.size(), 100U);
  EXPECT_EQ(groups[0].AddressOf(groups[0].Recipients.back()), "100@one");
  EXPECT_EQ(groups[1].AddressOf(groups[1].Recipients.back()), "last@two");
}

}  // namespace
}  // namespace velnor
