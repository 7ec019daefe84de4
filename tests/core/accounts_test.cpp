#include "core/accounts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "core/mail_store.h"
#include "core/system_config.h"
#include "platform/profile_file.h"
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

TEST_F(Accounts, ListHoldsTheDirectoriesWithAProfile) {
  const std::string long_name(120, 'x');
  world_.AddAccount("example.org", "bob", "pw", "Username=Bob B.\n");
  world_.AddAccount("example.org", "carol", "pw");
  world_.AddAccount("example.org", long_name, "pw", "Username=" + long_name + "\n");
  fs::create_directory(Domain() / "no-profile");
  WriteFile(Domain() / "a-file", "");
  fs::create_directory_symlink(Domain() / "bob", Domain() / "a-link");

  std::map<std::string, std::string> listed;
  for (const AccountRow& row : ListAccounts("example.org")) listed[row.Account] = row.Name;
  EXPECT_EQ(listed, (std::map<std::string, std::string>{{"bob", "Bob B."},
                                                        {"carol", "UNKNOWN"},
                                                        {long_name.substr(0, 99), long_name.substr(0, 98)}}));

  for (const char* domain : {"elsewhere.org", "", ".", "..", "../mail/example.org"}) {
    EXPECT_TRUE(ListAccounts(domain).empty()) << domain;
  }
}

TEST_F(Accounts, NewAccountHasItsTreeAndAllKeysInTheirOrder) {
  UserProfile profile = NewProfile();
  profile.Username = "Bob";
  profile.Password = " with blanks ";
  ASSERT_EQ(CreateAccount("example.org", "bob", profile), 1);
  EXPECT_TRUE(fs::is_directory(Domain() / "bob" / "MailDir" / "Inbox"));
  EXPECT_EQ(
      ReadFile(Domain() / "bob" / "config.ini"),
      "[Profile]\nUsername=Bob\nPassword=\" with blanks \"\nPop3Enable=0\nSmtpEnable=0\nWebEnable=0\n"
      "MaxMailNum=999\nMailBoxSize=50\nMailFolderNum=10\nNetDiskSize=100\nResponseSubject=\nForwardAddr=\n"
      "ForwardEnable=0\nResponseEnable=0\nForwardSaveLocal=0\n");
}

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

TEST_F(Accounts, MissingKeysHaveTheirOwnValues) {
  ASSERT_EQ(CreateAccount("example.org", "bob", NewProfile()), 1);
  WriteFile(Domain() / "bob" / "config.ini", "[Profile]\n");
  const UserProfile missing = LoadProfile("example.org", "bob");
  EXPECT_EQ(missing.Username, "");
  EXPECT_EQ(missing.MaxMailNum, 999);
  EXPECT_EQ(missing.MailFolderNum, 10);
  EXPECT_EQ(missing.NetDiskSize, 50);
  EXPECT_EQ(NewProfile().NetDiskSize, 100);
}

// Whatever a field accepts comes back whole, and whatever is longer in the file is not taken for something
// that a field accepts.
TEST_F(Accounts, EveryTextIsLoadedAsLongAsItsFieldHolds) {
  ASSERT_EQ(CreateAccount("example.org", "bob", NewProfile()), 1);
  const std::string path = ProfilePath("example.org", "bob").value();
  for (const ProfileField& field : ProfileFields()) {
    if (field.Kind != ProfileKind::TEXT) continue;
    UserProfile profile = NewProfile();
    for (const std::size_t length : {field.FieldLimit, field.FieldLimit + 1, std::size_t{5000}}) {
      profile.*field.Text = std::string(length, 'x');
      ASSERT_EQ(SaveProfile(path, profile), 1);
      const std::size_t loaded = (LoadProfile("example.org", "bob").*field.Text).size();
      if (length <= field.FieldLimit) {
        EXPECT_EQ(loaded, length) << field.Key;
      } else {
        EXPECT_GT(loaded, field.FieldLimit) << field.Key;
      }
    }
  }
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
  for (const std::string& good :
       {std::string("bob"), std::string("b.o-b_1"), longest, std::string("b\xc3\xb6")}) {
    EXPECT_TRUE(IsNewAccountName(good)) << good;
    EXPECT_TRUE(IsNewDomainName(good)) << good;
  }
  for (const std::string& bad :
       {std::string(), longest + "a", std::string("."), std::string(".."), std::string("a/b"),
        std::string("a\\b"), std::string("a b"), std::string("a@b"), std::string("a\tb"), std::string("a*"),
        std::string("?")}) {
    EXPECT_FALSE(IsNewAccountName(bad)) << bad;
    EXPECT_FALSE(IsNewDomainName(bad)) << bad;
  }
  for (const char* only_account : {"a|b", "send", "SEND"}) {
    EXPECT_TRUE(IsNewAccountName(only_account)) << only_account;
    EXPECT_FALSE(IsNewDomainName(only_account)) << only_account;
  }
}

}  // namespace
}  // namespace velnor
