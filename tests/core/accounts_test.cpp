#include "core/accounts.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/mail_store.h"
#include "core/system_config.h"
#include "platform/profile_file.h"
#include "support/test_world.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
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
  EXPECT_EQ(
      platform::ReadProfileString((user / "config.ini").string(), PROFILE_SECTION, "ResponseBody", "", 99),
      "away");
}

TEST_F(Accounts, DeletingTakesTheMailAndTellsWhatStayed) {
  world_.AddAccount("example.org", "bob", "pw");
  world_.AddAccount("example.org", "carol", "pw");
  WriteFile(world_.Inbox("example.org", "bob") / "n1", "mail");
  EXPECT_EQ(DeleteAccount("example.org", "bob"), 1);
  EXPECT_FALSE(fs::exists(Domain() / "bob"));
  for (const char* name : {"bob", "", ".", "..", "../example.org"}) {
    EXPECT_EQ(DeleteAccount("example.org", name), 0) << name;
    EXPECT_TRUE(fs::exists(Domain() / "carol" / "config.ini")) << name;
  }
}

TEST_F(Accounts, WhatCannotBeWrittenIsTold) {
  EXPECT_EQ(CreateAccount("gone.org", "bob", NewProfile()), 0);
  EXPECT_EQ(CreateAccount("example.org", "a/b", NewProfile()), 0);
  EXPECT_EQ(CreateAccount("example.org", "", NewProfile()), 0);
  EXPECT_TRUE(fs::is_empty(Domain()));
  WriteFile(Domain() / "in-the-way", "");
  EXPECT_EQ(CreateAccount("example.org", "in-the-way", NewProfile()), 0);
}

TEST(AccountNames, WhatMayBeGivenToNewOnes) {
  const std::string longest(30, 'a');
  for (const std::string& good : {"b.o-b_1"s, longest, "b\xc3\xb6"s}) {
    EXPECT_TRUE(IsNewAccountName(good)) << good;
    EXPECT_TRUE(IsNewDomainName(good)) << good;
  }
  for (const std::string& bad :
       {""s, longest + "a", "."s, ".."s, "a/b"s, "a\\b"s, "a b"s, "a@b"s, "a\tb"s, "a*"s, "?"s}) {
    EXPECT_FALSE(IsNewAccountName(bad)) << bad;
    EXPECT_FALSE(IsNewDomainName(bad)) << bad;
  }
  for (const char* only_account : {"a|b", "SEND"}) {
    EXPECT_TRUE(IsNewAccountName(only_account)) << only_account;
    EXPECT_FALSE(IsNewDomainName(only_account)) << only_account;
  }
}

}  // namespace
}  // namespace velnor
