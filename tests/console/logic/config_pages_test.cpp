#include <gtest/gtest.h>

#include "console/logic/config_form.h"
#include "console/logic/domains_page_logic.h"
#include "console/logic/rules_page_logic.h"
#include "core/system_config.h"
#include "platform/profile_file.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using test::ShownPrompt;
using Prompts = std::vector<ShownPrompt>;
using Texts = std::vector<std::string>;

ShownPrompt Error(const char* text) {
  return {text, "Error", PromptButtons::OK, PromptIcon::STOP};
}

ShownPrompt Question(const char* text) {
  return {text, "Information", PromptButtons::YES_NO, PromptIcon::NONE};
}

class ConfigPages : public testing::Test {
 protected:
  std::string Stored(const char* key) const {
    return platform::ReadProfileString(g_SystemConfig.IniPath.Get(), "System", key, "(none)", 999);
  }

  test::TestWorld world_;
  test::ScriptedPrompter prompter_;
};

TEST_F(ConfigPages, GeneralRefusesOneFieldAndStoresNothing) {
  const std::string path_254(254, 'p');
  const std::string text_31(31, 'd');
  const struct {
    const char* Key;
    std::string Good;
    std::string Bad;
    const char* Message;
  } cases[] = {
      {"MailPath", path_254, path_254 + "p", "\"Mailbox Path\" accepts at most 254 characters."},
      {"Pop3Port", "65534", "65535", "\"POP3\" accepts a whole number from 0 to 65534."},
      {"PrimaryDNS", text_31.substr(1), text_31, "\"Primary DNS\" accepts at most 30 characters."},
      {"MaxSizePerMail", "2", "1", "\"Maxsize per mail\" accepts a whole number from 2 to 30."},
      {"MaxSizePerMail", "30", "31", "\"Maxsize per mail\" accepts a whole number from 2 to 30."},
      {"AntiSpamLevel", "1", "", "\"Level(0- 3)\" accepts a whole number from 0 to 3."},
      {"SmtpPort", "2525", "4294967321", "\"SMTP\" accepts a whole number from 0 to 65534."},
  };
  for (const auto& c : cases) {
    ConfigForm form(prompter_);
    form.Value("LogToFile") = "1";
    form.Value(c.Key) = c.Bad;
    form.Apply();
    EXPECT_EQ(prompter_.Take(), (Prompts{Error(c.Message)}));
    EXPECT_STREQ(form.FailedKey, c.Key);
    EXPECT_EQ(g_SystemConfig.LogToFile, 0) << c.Key;
    form.Value(c.Key) = c.Good;
    form.Apply();
    EXPECT_EQ(prompter_.Take().at(0).Text, "Operation is successful") << c.Key << c.Good;
    g_SystemConfig.LogToFile = 0;
  }
}

TEST_F(ConfigPages, DomainsAddRefusesAndStores) {
  DomainsPageLogic page(prompter_);
  page.Text = "example.org";
  page.Add();
  EXPECT_EQ(page.Text, "example.org");
  EXPECT_EQ(Stored("LocalDomain"), "example.org|");
  EXPECT_TRUE(fs::is_directory(world_.MailRoot() / "example.org"));
  EXPECT_TRUE(prompter_.Take().empty());

  const char* const name_fault =
      "\"Domain\" accepts 1 to 30 characters, without blanks and any of / \\ @ * ? |, and not the name "
      "\"send\".";
  const struct {
    std::string Text;
    const char* Message;
  } cases[] = {{"", "Domain Name is NULL"},
               {"EXAMPLE.org", "Already has the same domain"},
               {"a|b", name_fault},
               {"../x", name_fault}};
  for (const auto& c : cases) {
    page.Text = c.Text;
    page.Add();
    EXPECT_EQ(prompter_.Take(), (Prompts{Error(c.Message)})) << c.Text;
    EXPECT_TRUE(page.FocusText);
  }
  // The beginning of a name is no duplicate. A name whose directory can't be made is refused without a word.
  page.Text = "example.or";
  page.Add();
  test::WriteFile(world_.MailRoot() / "file.org", "");
  page.Text = "file.org";
  page.Add();
  EXPECT_TRUE(prompter_.Take().empty());
  EXPECT_FALSE(page.FocusText);
  EXPECT_EQ(page.Rows, (Texts{"example.org", "example.or"}));
  EXPECT_EQ(*g_SystemConfig.LocalDomains.Get(), page.Rows);
}

TEST_F(ConfigPages, DomainsDeleteGoesByTheField) {
  for (const char* name : {"a.org", "b.org", "c.org"}) g_SystemConfig.AddDomain(name);
  DomainsPageLogic page(prompter_);
  page.Select(2);
  EXPECT_EQ(page.Text, "c.org");
  page.Text = "d.org";
  page.Delete();
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("No the record")}));
  page.Text = "A.org";
  page.Delete();
  EXPECT_EQ(prompter_.Take(), (Prompts{Question("Are you sure delete the domain?")}));
  EXPECT_TRUE(fs::exists(world_.MailRoot() / "a.org"));
  prompter_.Answer = PromptAnswer::YES;
  page.Delete();
  EXPECT_FALSE(fs::exists(world_.MailRoot() / "a.org"));
  EXPECT_EQ(page.Rows, (Texts{"b.org", "c.org"}));
  EXPECT_EQ(page.Selected, 1U);  // still c.org
  EXPECT_EQ(Stored("LocalDomain"), "b.org|c.org|");
}

TEST_F(ConfigPages, DomainsUpdateRenamesTheSelectedRow) {
  world_.AddAccount("a.org", "bob", "pw");
  g_SystemConfig.AddDomain("b.org");
  DomainsPageLogic page(prompter_);
  prompter_.Answer = PromptAnswer::YES;
  page.Select(0);
  for (const char* refused : {"", "A.ORG", "x/y"}) {
    page.Text = refused;
    page.Update();
    EXPECT_EQ(prompter_.Take().at(0).Caption, "Error") << refused;
  }
  page.Text = "new.org";
  page.Update();
  EXPECT_EQ(prompter_.Take(), (Prompts{Question("Are you sure update the domain?")}));
  EXPECT_TRUE(fs::exists(world_.MailRoot() / "new.org" / "bob"));
  EXPECT_EQ(Stored("LocalDomain"), "new.org|b.org|");
  // A name that another row holds is the configuration's to judge, which takes it.
  page.Text = "b.org";
  page.Update();
  EXPECT_EQ(page.Rows, (Texts{"b.org", "b.org"}));
}

TEST_F(ConfigPages, RulesAddAndDelete) {
  RulesPageLogic page(prompter_);
  page.Text = "*.Evil.example";
  page.Add();
  EXPECT_EQ(page.Text, "");
  EXPECT_EQ(test::ReadFile(world_.App() / "rules.ini"), "*.Evil.example\r\n");
  const std::string longest(128, 'r');
  const struct {
    std::string Text;
    const char* Message;
  } cases[] = {{"", "Rule is NULL"},
               {"*.evil.EXAMPLE", "Already has the same record"},
               {"1.2 .3", "\"Rule\" accepts a text without blanks."},
               {longest + "r", "\"Rule\" accepts at most 128 characters."}};
  for (const auto& c : cases) {
    page.Text = c.Text;
    page.Add();
    EXPECT_EQ(prompter_.Take(), (Prompts{Error(c.Message)}));
    EXPECT_TRUE(page.FocusText);
  }
  page.Text = longest;
  page.Add();
  EXPECT_EQ(page.Rows.size(), 2U);

  page.Select(0);
  page.Delete();
  EXPECT_EQ(prompter_.Take(), (Prompts{Question("Are you sure delete the rule?")}));
  prompter_.Answer = PromptAnswer::YES;
  page.Text = "*.EVIL.example";
  page.Delete();
  EXPECT_EQ(page.Rows, (Texts{longest}));
  EXPECT_EQ(page.Selected, std::nullopt);
  EXPECT_EQ(page.Text, "");
  EXPECT_EQ(test::ReadFile(world_.App() / "rules.ini"), longest + "\r\n");
}

}  // namespace
}  // namespace velnor
