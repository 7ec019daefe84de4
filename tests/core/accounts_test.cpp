#include "core/accounts.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/system_config.h"
#include "support/test_world.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WriteFile;

class Accounts : public testing::Test {
 protected:
  Accounts() { g_SystemConfig.AddDomain("example.org"); }

  fs::path Domain() const { return world_.MailRoot() / "example.org"; }

  test::TestWorld world_;
};

TEST_F(Accounts, AnAccountThatExistsKeepsItsMailAndForeignKeys) {
  const fs::path user = world_.AddAccount("example.org", "bob", "old", "ResponseBody=away\n");
  WriteFile(world_.Inbox("example.org", "bob") / "n1", "mail");
  UserProfile profile = NewProfile();
  profile.Password = "new";
  // The name differs in case alone, so it is the same account.
  ASSERT_EQ(CreateAccount("example.org", "Bob", profile), 1);
  EXPECT_EQ(ListAccounts("example.org").size(), 1U);
  EXPECT_EQ(ReadFile(world_.Inbox("example.org", "bob") / "n1"), "mail");
  EXPECT_EQ(LoadProfile("example.org", "bob").Password, "new");
  EXPECT_NE(ReadFile(user / "config.ini").find("ResponseBody=away\n"), std::string::npos);
}

TEST_F(Accounts, NamesLeadNowhereElseAndWhatCannotBeDoneIsTold) {
  world_.AddAccount("example.org", "bob", "pw");
  world_.AddAccount("example.org", "carol", "pw");
  EXPECT_EQ(DeleteAccount("example.org", "bob"), 1);
  for (const char* name : {"bob", "", ".", "..", "../example.org"}) {
    EXPECT_EQ(DeleteAccount("example.org", name), 0) << name;
  }
  EXPECT_EQ(CreateAccount("gone.org", "bob", NewProfile()), 0);
  WriteFile(Domain() / "in-the-way", "");
  for (const char* name : {"a/b", "", "in-the-way"}) {
    EXPECT_EQ(CreateAccount("example.org", name, NewProfile()), 0) << name;
  }
  EXPECT_EQ(test::FileNames(Domain()), (std::vector<std::string>{"carol", "in-the-way"}));
}

TEST(AccountNames, WhatMayBeGivenToNewOnes) {
  const std::string longest(30, 'a');
  const std::string all[] = {"b.o-b_1", longest, "b\xc3\xb6", "a|b", "SEND", "",     longest + "a", ".",
                             "..",      "a/b",   "a\\b",      "a b", "a@b",  "a\tb", "a*",          "?"};
  constexpr int ACCOUNTS = 5;  // the first ones may be accounts
  constexpr int DOMAINS = 3;   // and fewer of them domains
  int place = 0;
  for (const std::string& name : all) {
    EXPECT_EQ(IsNewAccountName(name), place < ACCOUNTS) << name;
    EXPECT_EQ(IsNewDomainName(name), place < DOMAINS) << name;
    ++place;
  }
}

}  // namespace
}  // namespace velnor
