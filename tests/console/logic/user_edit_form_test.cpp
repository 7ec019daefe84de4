#include <gtest/gtest.h>

#include "console/logic/user_edit_form.h"
#include "core/system_config.h"
#include "support/scripted_prompter.h"
#include "support/test_world.h"

namespace velnor {
namespace {

TEST(UserEditForm, LimitsOfTheFields) {
  const test::TestWorld world;
  test::ScriptedPrompter prompter;
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
    UserEditForm form(prompter, {"a.org", ""});
    form.Account = "bob";
    const bool account = std::string_view(c.Key) == ACCOUNT_FIELD;
    (account ? form.Account : form.Value(c.Key)) = c.Text;
    EXPECT_EQ(form.Accept(), c.Accepted) << c.Key << " " << c.Text;
    EXPECT_STREQ(form.FailedKey, c.Accepted ? "" : c.Key);
    EXPECT_EQ(prompter.Take().size(), c.Accepted ? 0U : 1U);
    if (!c.Accepted || account) continue;
    EXPECT_EQ(UserEditForm(prompter, {"a.org", "bob"}).Value(c.Key), c.Text);
  }
}

}  // namespace
}  // namespace velnor
