#include <gtest/gtest.h>

#include <algorithm>

#include "console/logic/user_edit_form.h"
#include "console/logic/user_list_logic.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using test::ShownPrompt;
using Prompts = std::vector<ShownPrompt>;
using Texts = std::vector<std::string>;

ShownPrompt Information(const char* text, PromptIcon icon = PromptIcon::INFORMATION) {
  return {text, "Information", PromptButtons::OK, icon};
}

class UserForms : public testing::Test {
 protected:
  static Texts Accounts(const UserListLogic& list) {
    Texts accounts;
    for (const AccountRow& row : list.Rows) accounts.push_back(row.Account);
    std::sort(accounts.begin(), accounts.end());
    return accounts;
  }

  test::TestWorld world_;
  test::ScriptedPrompter prompter_;
};

TEST_F(UserForms, ListOpensWhatIsSelected) {
  world_.AddAccount("a.org", "alice", "pw");
  world_.AddAccount("b.org", "bob", "pw");
  UserListLogic list(prompter_);
  EXPECT_EQ(Accounts(list), (Texts{"alice"}));
  list.ChooseDomain(1);
  EXPECT_EQ(Accounts(list), (Texts{"bob"}));
  world_.AddAccount("b.org", "carol", "pw");
  list.Reload();
  EXPECT_EQ(Accounts(list), (Texts{"bob", "carol"}));

  EXPECT_EQ(list.New()->Domain, "b.org");
  EXPECT_EQ(list.New()->Account, "");
  EXPECT_FALSE(list.Detail(std::nullopt));
  const auto request = list.Detail(0);
  EXPECT_EQ(request->Domain, "b.org");
  EXPECT_EQ(request->Account, list.Rows[0].Account);
  EXPECT_TRUE(prompter_.Take().empty());
}

TEST_F(UserForms, ListDeletesAfterAYesAlone) {
  const fs::path user = world_.AddAccount("a.org", "alice", "pw");
  UserListLogic list(prompter_);
  EXPECT_FALSE(list.Delete(std::nullopt));
  EXPECT_EQ(prompter_.Take(), (Prompts{Information("You have not choose record")}));
  const ShownPrompt question{"Are you sure delete the record?", "Information", PromptButtons::YES_NO,
                             PromptIcon::NONE};
  EXPECT_FALSE(list.Delete(0));
  EXPECT_EQ(prompter_.Take(), (Prompts{question}));
  EXPECT_TRUE(fs::exists(user));
  prompter_.Answer = PromptAnswer::YES;
  EXPECT_TRUE(list.Delete(0));
  EXPECT_FALSE(fs::exists(user));
  EXPECT_EQ(prompter_.Take(), (Prompts{question}));
  EXPECT_FALSE(list.Delete(0));  // gone already
  EXPECT_EQ(prompter_.Take(), (Prompts{question, Information("You can not delete the User")}));
}

TEST_F(UserForms, EditWritesTheProfileFoundAtOpening) {
  world_.AddAccount("a.org", "an account of old", "pw", "MailFolderNum=20\nWebEnable=7\nResponseBody=away\n");
  UserEditForm form(prompter_, {"a.org", "an account of old"});
  EXPECT_TRUE(form.EditMode());
  EXPECT_STREQ(form.Title(), "Edit user information");
  EXPECT_EQ(form.Value("MailFolderNum"), "20");
  EXPECT_EQ(form.Value("NetDiskSize"), "50");
  EXPECT_EQ(form.Value("WebEnable"), "1");
  form.Value("MailBoxSize") = "7";
  EXPECT_TRUE(form.Accept());
  UserEditForm again(prompter_, {"a.org", "an account of old"});
  EXPECT_EQ(again.Value("MailBoxSize"), "7");
  EXPECT_EQ(again.Value("MailFolderNum"), "20");
  EXPECT_EQ(again.Value("Password"), "pw");
}

TEST_F(UserForms, LimitsOfTheFields) {
  g_SystemConfig.AddDomain("a.org");
  const struct {
    const char* Key;
    std::string Text;
    bool Accepted;
  } cases[] = {
      {"Account", "a/b", false},
      {"Account", std::string(30, 'a'), true},
      {"MailBoxSize", "65535", false},
      {"MailBoxSize", "65534", true},
      {"MaxMailNum", "1.5", false},
      {"Password", std::string(20, 'p'), true},
      {"Username", "\xc3\xa4\xc3\xb6\xc3\xbc\xc3\xa4\xc3\xb6\xc3\xbc\xc3\xa4\xc3\xb6\xc3\xbc\xc3\xa4\xc3\xb6",
       false},
      {"ForwardAddr", std::string(255, 'f'), true},
      {"ForwardAddr", std::string(256, 'f'), false},
      {"ResponseSubject", std::string(1024, 's'), true},
      {"ResponseSubject", std::string(1025, 's'), false},
  };
  for (const auto& c : cases) {
    UserEditForm form(prompter_, {"a.org", ""});
    form.Account = "bob";
    const bool account = std::string_view(c.Key) == ACCOUNT_FIELD;
    (account ? form.Account : form.Value(c.Key)) = c.Text;
    EXPECT_EQ(form.Accept(), c.Accepted) << c.Key << " " << c.Text;
    EXPECT_STREQ(form.FailedKey, c.Accepted ? "" : c.Key);
    EXPECT_EQ(prompter_.Take().size(), c.Accepted ? 0U : 1U);
    if (c.Accepted && !account) {
      EXPECT_EQ(UserEditForm(prompter_, {"a.org", "bob"}).Value(c.Key), c.Text);
    }
  }
}

}  // namespace
}  // namespace velnor
