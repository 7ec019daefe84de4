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
      {"MaxSizePerMail", "30", "31", "\"Maxsize per mail\" accepts a whole number from 2 to 30."},
      {"AntiSpamLevel", "1", "", "\"Level(0- 3)\" accepts a whole number from 0 to 3."},
      {"SmtpPort", "0", "4294967321", "\"SMTP\" accepts a whole number from 0 to 65534."},
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

TEST_F(ConfigPages, WhatAReloadChangesIsOverwrittenOnlyByWhatWasTyped) {
  ConfigForm form(prompter_);
  form.Value("SmtpPort") = "2525";
  g_SystemConfig.SmtpPort = 26;
  g_SystemConfig.Pop3Port = 1110;
  g_SystemConfig.AntiSpamLevel = 2;
  form.Apply();
  EXPECT_EQ(g_SystemConfig.SmtpPort, 2525);
  EXPECT_EQ(g_SystemConfig.Pop3Port, 1110);
  EXPECT_EQ(g_SystemConfig.AntiSpamLevel, 2);
  EXPECT_TRUE(form.AntiSpam);
  g_SystemConfig.SmtpPort = 27;
  form.Apply();
  EXPECT_EQ(g_SystemConfig.SmtpPort, 27) << "what was applied counts as typed no longer";
}

TEST_F(ConfigPages, DomainsGoByTheFieldAndAreStoredAtOnce) {
  test::WriteFile(world_.MailRoot() / "file.org", "");
  DomainsPageLogic page(prompter_);
  for (const char* name : {"a.org", "a.or", "c.org", "file.org"}) {
    page.Text = name;
    page.Add();
  }
  // A name whose directory can't be made is refused without a word.
  EXPECT_EQ(page.Rows, (Texts{"a.org", "a.or", "c.org"}));
  EXPECT_TRUE(prompter_.Take().empty());
  page.Text = "";
  page.Add();
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("Domain Name is NULL")}));
  EXPECT_TRUE(page.FocusText);
  page.Select(2);
  page.Text = "x/y";
  page.Update();
  EXPECT_EQ(prompter_.Take().at(0).Caption, "Error");
  page.Text = "A.org";
  page.Delete();
  EXPECT_EQ(prompter_.Take(), (Prompts{Question("Are you sure delete the domain?")}));
  EXPECT_TRUE(fs::exists(world_.MailRoot() / "a.org"));
  prompter_.Answer = PromptAnswer::YES;
  page.Delete();
  EXPECT_FALSE(fs::exists(world_.MailRoot() / "a.org"));
  EXPECT_EQ(page.Selected, 1U) << "still c.org";
  page.Text = "new.org";
  page.Update();
  EXPECT_TRUE(fs::exists(world_.MailRoot() / "new.org"));
  EXPECT_EQ(page.Rows, (Texts{"a.or", "new.org"}));
  EXPECT_EQ(Stored("LocalDomain"), "a.or|new.org|");
}

TEST_F(ConfigPages, RulesAskFirstAndAreStoredAtOnce) {
  RulesPageLogic page(prompter_);
  const std::string longest(128, 'r');
  for (const std::string& rule : {std::string("*.Evil.example"), longest, longest + "r"}) {
    page.Text = rule;
    page.Add();
  }
  EXPECT_EQ(prompter_.Take(), (Prompts{Error("\"Rule\" accepts at most 128 characters.")}));
  EXPECT_EQ(test::ReadFile(world_.App() / "rules.ini"), "*.Evil.example\r\n" + longest + "\r\n");
  page.Select(0);
  page.Delete();
  prompter_.Answer = PromptAnswer::YES;
  page.Text = "none";
  page.Delete();
  const ShownPrompt question = Question("Are you sure delete the rule?");
  EXPECT_EQ(prompter_.Take(), (Prompts{question, question, Error("No the record")}));
  page.Text = "*.EVIL.example";
  page.Delete();
  EXPECT_EQ(page.Selected, std::nullopt);
  EXPECT_EQ(test::ReadFile(world_.App() / "rules.ini"), longest + "\r\n");
}

}  // namespace
}  // namespace velnor
