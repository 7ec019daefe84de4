#include "console/widgets/user_edit_dialog.h"

#include <gtest/gtest.h>

#include <QComboBox>

#include "console/widgets/window_driver.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

using namespace test;

class UserEditDialog : public testing::Test {
 protected:
  TestWorld world_;
  ScriptedPrompter prompter_;
};

TEST_F(UserEditDialog, RefusesThenMakesTheAccount) {
  for (const char* domain : {"a.org", "b.org"}) g_SystemConfig.AddDomain(domain);
  CUserEditDialog dialog(prompter_, {"a.org", ""}, nullptr);
  Open(dialog);
  auto* const account = Find<QLineEdit>(dialog, "Account");
  auto* const folders = Find<QLineEdit>(dialog, "MailFolderNum");
  EXPECT_EQ(Find<QLineEdit>(dialog, "Password")->echoMode(), QLineEdit::Password);
  Type(folders, "1000");
  Click(dialog, "OK");
  EXPECT_EQ(dialog.focusWidget(), account);
  Type(account, "bob");
  Click(dialog, "OK");
  EXPECT_EQ(dialog.focusWidget(), folders);
  EXPECT_EQ(prompter_.Shown.size(), 2U);
  for (const int key : {Qt::Key_Return, Qt::Key_Escape}) Press(*folders, key);
  EXPECT_TRUE(dialog.isVisible());
  Type(folders, "20");
  Click(dialog, "SMTP Enable");
  Find<QComboBox>(dialog, "Domain")->setCurrentIndex(1);
  Click(dialog, "OK");
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  const UserProfile stored = LoadProfile("b.org", "bob");
  EXPECT_EQ(stored.MailFolderNum, 20);
  EXPECT_EQ(stored.NetDiskSize, 100);
  EXPECT_EQ(stored.SmtpEnable, 1);
  EXPECT_EQ(stored.Pop3Enable, 0);
}

TEST_F(UserEditDialog, TicksEnableTheirFieldsWhichKeepTheirText) {
  // What is no UTF-8 comes through an edit of something else unchanged.
  const std::string name = "B\xf6";
  world_.AddAccount("a.org", "bob", "pw", "Username=" + name + "\nForwardEnable=1\nForwardAddr=f@b.org\n");
  CUserEditDialog dialog(prompter_, {"a.org", "bob"}, nullptr);
  Open(dialog);
  EXPECT_FALSE(Find<QLineEdit>(dialog, "Account")->isEnabled());
  EXPECT_FALSE(Find<QComboBox>(dialog, "Domain")->isEnabled());
  auto* const forward = Find<QLineEdit>(dialog, "ForwardAddr");
  auto* const subject = Find<QLineEdit>(dialog, "ResponseSubject");
  EXPECT_TRUE(forward->isEnabled());
  EXPECT_FALSE(subject->isEnabled());
  Click(dialog, "Enable mail forward");
  Click(dialog, "Enable auto response");
  EXPECT_FALSE(forward->isEnabled());
  EXPECT_FALSE(FindButton(dialog, "save it in local?")->isEnabled());
  EXPECT_TRUE(subject->isEnabled());
  Type(subject, "Away");
  Click(dialog, "OK");
  EXPECT_TRUE(prompter_.Shown.empty());
  const UserProfile stored = LoadProfile("a.org", "bob");
  EXPECT_EQ(stored.Username, name);
  EXPECT_EQ(stored.NetDiskSize, 50);
  EXPECT_EQ(stored.ForwardAddr, "f@b.org");
  EXPECT_EQ(stored.ForwardEnable, 0);
  EXPECT_EQ(stored.ResponseEnable, 1);
  EXPECT_EQ(stored.ResponseSubject, "Away");
}

TEST_F(UserEditDialog, AStoredTextTooLongForItsFieldIsNeverSavedShortened) {
  const std::string password(32, 'p');
  world_.AddAccount("a.org", "bob", password);
  CUserEditDialog dialog(prompter_, {"a.org", "bob"}, nullptr);
  Open(dialog);
  Click(dialog, "OK");
  EXPECT_EQ(dialog.focusWidget(), Find<QLineEdit>(dialog, "Password"));
  EXPECT_EQ(prompter_.Shown.at(0).Text, "\"Password\" accepts at most 20 characters.");
  Click(dialog, "Cancel");
  EXPECT_EQ(LoadProfile("a.org", "bob").Password, password);
}

}  // namespace
}  // namespace velnor
