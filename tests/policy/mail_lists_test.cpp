// Mail lists: the table, the bytes of its file, and what is made of odd files.

#include <gtest/gtest.h>

#include "core/system_config.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

class MailLists : public ::testing::Test {
 protected:
  // The table as one text: "name: address permission, ...;" for each list.
  static std::string Table() {
    std::string text;
    for (const MailList& list : *g_SystemConfig.MailLists.Get()) {
      text += std::string(list.Name) + ":";
      for (const MailListMember& member : list.Members) {
        text += " " + std::string(member.Address) + " " + std::to_string(member.Permission) + ",";
      }
      text += ";";
    }
    return text;
  }
  std::string Load(std::string_view bytes) {
    WriteFile(path_, bytes);
    g_SystemConfig.LoadMailLists();
    return Table();
  }

  TestWorld world_;
  const std::filesystem::path path_ = world_.Work() / "maillist.ini";
};

TEST_F(MailLists, ChangeAndComeBackByteForByte) {
  auto& config = g_SystemConfig;
  for (const char* name : {"one@a.test", "two@a.test", "three@a.test"})
    EXPECT_EQ(config.AddMailList(name), 1);
  EXPECT_EQ(config.AddMailList("ONE@a.test"), 0);
  EXPECT_EQ(config.AddListMember("One@A.test", "x@b.test", 0), 1);
  EXPECT_EQ(config.AddListMember("one@a.test", "X@b.test", 1), 0);
  EXPECT_EQ(config.AddListMember("one@a.test", "y@b.test", -7), 1);
  EXPECT_EQ(config.AddListMember("three@a.test", "x@b.test", 1), 1);

  const auto found = config.FindMailList("THREE@a.test");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(config.DeleteMailList("two@A.test") + config.DeleteMailList("two@a.test"), 1);
  EXPECT_EQ(found->Members.size(), 1u) << "a list that was found outlives a change";
  EXPECT_EQ(config.FindListMember("one@a.test", "Y@B.test")->Permission, -7);
  EXPECT_FALSE(config.FindListMember("one@a.test", "z@b.test"));

  const std::string table = "one@a.test: x@b.test 0, y@b.test -7,;three@a.test: x@b.test 1,;";
  EXPECT_EQ(Table(), table);
  config.SaveMailLists();
  EXPECT_EQ(ReadFile(path_),
            "[MailList]\r\r\none@a.test\r\r\nthree@a.test\r\r\n\r\r\n"
            "[one@a.test]\r\r\nx@b.test 0\r\r\ny@b.test -7\r\r\n\r\r\n"
            "[three@a.test]\r\r\nx@b.test 1\r\r\n\r\r\n");
  config.LoadMailLists();
  EXPECT_EQ(Table(), table);
  EXPECT_EQ(config.RemoveListMember("one@a.test", "x@B.test"), 1);
  EXPECT_EQ(config.RemoveListMember("one@a.test", "x@b.test"), 0);
  EXPECT_EQ(Table(), "one@a.test: y@b.test -7,;three@a.test: x@b.test 1,;");
}

TEST_F(MailLists, OddFilesGiveWhatCanBeRead) {
  const std::string name = std::string(130, 'n') + "@a.test";
  const std::string cut = "@" + std::string(130, 'n');
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"l@a.test\n[l@a.test]\nm@b.test 0\n", ""},
      {"# c\n[other]\nx@y.test\n[maillist]\n;no@a.test\n  l@a.test \nL@A.test\nnoat\n@a\n\n[L@a.TEST]\n"
       "m@b.test 1\n\t n@b.test \t 0 more\nM@B.test 0\no@b.test\np@b.test x\nq@b.test 2x\n# r@b.test 0\n",
       "l@a.test: m@b.test 1, n@b.test 0, q@b.test 2,;"},
      // A section ends at the next one, and its own header again is none.
      {"[l@a.test]\nm@b.test 0\n[l@a.test]\nn@b.test 0\n[MailList]\nl@a.test\n[MailList]\nk@a.test\n"
       "[x]\nj@a.test\n[l@a.test]\no@b.test 0\n[MailList]\ni@a.test\n",
       "l@a.test: m@b.test 0, n@b.test 0,;k@a.test:;"},
      {"[MailList]\nl@a.test\n[unlisted@a.test]\nm@b.test 0\n", "l@a.test:;"},
      {"[MailList]\n" + cut + "\n[" + cut.substr(0, 127) + "]\n" + cut + " 3\n",
       cut.substr(0, 127) + ": " + cut.substr(0, 127) + " 3,;"},
      {"[MailList]\nl@a.test\n[l@a.test]\nm@b.test 99999999999\n", "l@a.test: m@b.test 2147483647,;"},
      {std::string("[MailList]\nbin\0@a.test\nl@a.test\0x\n\xff\xfe\n", 38), "l@a.test:;"},
      {"[MailList]\nl@a.test\n" + std::string(1'000'000, 'x') + "\nk@a.test", "l@a.test:;k@a.test:;"},
  };
  for (const auto& [bytes, table] : cases) EXPECT_EQ(Load(bytes), table) << bytes.substr(0, 200);
}

}  // namespace
}  // namespace velnor::test
