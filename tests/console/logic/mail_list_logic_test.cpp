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

TEST_F(MailListDialog, AddsLists) {
  MailListLogic logic(prompter_);
  const char* const fault = "\"List Addr\" accepts a text without blanks that begins with none of #;[.";
  const struct {
    const char* Text;
    const char* Message;
  } cases[] = {{"ALL@a.org", "There is the same maillist"}, {"a b@c", fault}, {"a@b\n", fault}};
  for (const auto& c : cases) {
    logic.ListAddr = c.Text;
    logic.AddList();
    EXPECT_EQ(prompter_.Take(), (Prompts{Error(c.Message)})) << c.Text;
    EXPECT_EQ(logic.Refused, MailListField::LIST_ADDR);
  }
  // A name is kept and shown as long as its record; a second one that is the same there is refused.
  const std::string over_long = std::string(140, 'x') + "@a.org";
  for (int i = 0; i < 2; ++i) {
    logic.ListAddr = over_long;
    logic.AddList();
  }
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("Operation failed")}));
  EXPECT_EQ(logic.Lists, (Texts{"all@a.org", "none@a.org", over_long.substr(0, 127)}));
}

TEST_F(MailListDialog, DeletesAListAfterAYes) {
  MailListLogic logic(prompter_);
  logic.ListAddr = "other@a.org";
  logic.DeleteList();
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("No the record")}));
  logic.SelectList(0);
  logic.DeleteList();
  EXPECT_EQ(prompter_.Take(), (Prompts{{"Are you sure delete the maillist?", "Information",
                                        PromptButtons::YES_NO, PromptIcon::NONE}}));
  EXPECT_EQ(logic.Lists.size(), 2U);
  prompter_.Answer = PromptAnswer::YES;
  logic.DeleteList();
  EXPECT_EQ(logic.Lists, (Texts{"none@a.org"}));
  EXPECT_EQ(g_SystemConfig.FindMailList("all@a.org"), nullptr);
}

TEST_F(MailListDialog, MembersGoToTheListThatTheFieldNames) {
  MailListLogic logic(prompter_);
  logic.SelectList(0);
  logic.ListAddr = "NONE@a.org";
  logic.EmailAddr = "new@a.org";
  logic.AddMember();
  EXPECT_EQ(Shown(logic).back(), "new@a.org RW");  // no entry of the combo counts as 0
  EXPECT_EQ(logic.EmailAddr, "");
  EXPECT_TRUE(g_SystemConfig.FindListMember("none@a.org", "new@a.org"));
  logic.SelectList(1);
  EXPECT_EQ(Shown(logic), (Texts{"new@a.org RW"}));

  logic.Priority = 1;
  logic.EmailAddr = "reader@a.org";
  logic.AddMember();
  EXPECT_EQ(g_SystemConfig.FindListMember("none@a.org", "reader@a.org")->Permission, 1);
  EXPECT_TRUE(prompter_.Take().empty());

  logic.EmailAddr = "NEW@a.org";
  logic.AddMember();
  logic.ListAddr = "gone@a.org";
  logic.AddMember();
  EXPECT_EQ(prompter_.Take(), Prompts(2, Error("There is the same email addr")));
  logic.EmailAddr = "x 5";  // would read back as another record
  logic.AddMember();
  EXPECT_EQ(prompter_.Take().at(0).Caption, "Error");
  EXPECT_EQ(logic.Members.size(), 2U);
}

TEST_F(MailListDialog, RemovesMembersAndStoresAtApplyAlone) {
  MailListLogic logic(prompter_);
  logic.SelectList(0);
  logic.EmailAddr = "other@a.org";
  logic.RemoveMember();
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("There is not the email addr")}));
  for (const char* address : {"BOSS@a.org", "odd@a.org"}) {
    logic.EmailAddr = address;
    logic.RemoveMember();
  }
  EXPECT_EQ(Shown(logic), (Texts{"bob@a.org R"}));
  EXPECT_EQ(test::ReadFile(world_.Work() / "maillist.ini"), "");
  logic.Apply();
  EXPECT_EQ(test::ReadFile(world_.Work() / "maillist.ini"),
            "[MailList]\r\r\nall@a.org\r\r\nnone@a.org\r\r\n\r\r\n[all@a.org]\r\r\nbob@a.org 1\r\r\n\r\r\n"
            "[none@a.org]\r\r\n\r\r\n");
  EXPECT_TRUE(prompter_.Take().empty());
}

}  // namespace
}  // namespace velnor
