#include "console/logic/mail_list_logic.h"

#include <gtest/gtest.h>

#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using test::ShownPrompt;
using Prompts = std::vector<ShownPrompt>;
using Texts = std::vector<std::string>;

ShownPrompt Error(const char* text) {
  return {text, "Error", PromptButtons::OK, PromptIcon::STOP};
}

class MailListDialog : public testing::Test {
 protected:
  MailListDialog() {
    g_SystemConfig.AddMailList("all@a.org");
    g_SystemConfig.AddListMember("all@a.org", "boss@a.org", 0);
    g_SystemConfig.AddListMember("all@a.org", "bob@a.org", 1);
    g_SystemConfig.AddListMember("all@a.org", "odd@a.org", 7);
    g_SystemConfig.AddMailList("none@a.org");
  }

  // The members shown, each as "address priority".
  static Texts Shown(const MailListLogic& logic) {
    Texts rows;
    for (const MemberRow& row : logic.Members) rows.push_back(row.Address + " " + row.PriorityText());
    return rows;
  }

  test::TestWorld world_;
  test::ScriptedPrompter prompter_;
};

TEST_F(MailListDialog, ANameIsTheOneThatItsRecordKeeps) {
  MailListLogic logic(prompter_);
  const std::string over_long = std::string(140, 'x') + "@a.org";
  for (int i = 0; i < 2; ++i) {
    logic.ListAddr = over_long;
    logic.AddList();
  }
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("There is the same maillist")}));
  EXPECT_EQ(logic.Refused, MailListField::LIST_ADDR);
  EXPECT_EQ(logic.Lists, (Texts{"all@a.org", "none@a.org", over_long.substr(0, 127)}));
  logic.ListAddr = "a@b\n";
  logic.AddList();
  EXPECT_EQ(prompter_.Take().at(0).Caption, "Error");
  prompter_.Answer = PromptAnswer::YES;
  logic.ListAddr = over_long;
  logic.DeleteList();
  EXPECT_EQ(logic.Lists, (Texts{"all@a.org", "none@a.org"}));
  EXPECT_EQ(g_SystemConfig.MailLists.Get()->size(), 2U);
}

TEST_F(MailListDialog, MembersGoToTheListThatTheFieldNames) {
  MailListLogic logic(prompter_);
  logic.SelectList(0);
  logic.ListAddr = "NONE@a.org";
  logic.EmailAddr = "new@a.org";
  logic.AddMember();
  EXPECT_EQ(Shown(logic), (Texts{"boss@a.org RW", "bob@a.org R", "odd@a.org R", "new@a.org RW"}));
  logic.SelectList(1);
  EXPECT_EQ(Shown(logic), (Texts{"new@a.org RW"}));
  logic.Priority = 1;
  logic.EmailAddr = "reader@a.org";
  logic.AddMember();
  EXPECT_EQ(g_SystemConfig.FindListMember("none@a.org", "reader@a.org")->Permission, 1);
  EXPECT_TRUE(prompter_.Take().empty());
  logic.ListAddr = "gone@a.org";
  for (const char* address : {"other@a.org", "x 5"}) {  // the latter would read back as another record
    logic.EmailAddr = address;
    logic.AddMember();
    EXPECT_EQ(prompter_.Take().at(0).Caption, "Error") << address;
  }
  EXPECT_EQ(logic.Members.size(), 2U);
}

TEST_F(MailListDialog, RemovesMembersAndStoresAtApplyAlone) {
  MailListLogic logic(prompter_);
  logic.SelectList(0);
  for (const char* address : {"BOSS@a.org", "odd@a.org", "boss@a.org"}) {
    logic.EmailAddr = address;
    logic.RemoveMember();
  }
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("There is not the email addr")}));
  EXPECT_EQ(Shown(logic), (Texts{"bob@a.org R"}));
  EXPECT_EQ(test::ReadFile(world_.Work() / "maillist.ini"), "");
  logic.Apply();
  g_SystemConfig.LoadMailLists();
  EXPECT_FALSE(g_SystemConfig.FindListMember("all@a.org", "boss@a.org"));
  EXPECT_TRUE(g_SystemConfig.FindListMember("all@a.org", "bob@a.org"));
}

}  // namespace
}  // namespace velnor
