// Forbidden peers: what a pattern matches, and the file of patterns.

#include <gtest/gtest.h>

#include "core/system_config.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

class Rules : public ::testing::Test {
 protected:
  NameTable Load(std::string_view bytes) {
    WriteFile(path_, bytes);
    g_SystemConfig.LoadRules();
    return *g_SystemConfig.Rules.Get();
  }

  TestWorld world_;
  const std::filesystem::path path_ = world_.App() / "rules.ini";
};

TEST_F(Rules, MatchAtEitherEndOfTheAddress) {
  const struct {
    const char* Pattern;
    const char* Address;
    int Blocked;
  } cases[] = {
      {"192.168.*", "192.168.1.5", 1}, {"*.1.5", "192.168.1.5", 1}, {"168.1", "192.168.1.5", 0},
      {"10.0.0.1", "110.0.0.1", 1},    {"10.0", "192.168.10.0", 1}, {"", "10.0.0.1", 1},
      {"10.0.0.1.2", "10.0.0.1", 0},   {"..10.*.", "10.0.0.1", 1},  {"192.168", "192.16.8.1", 0},
  };
  for (const auto& each : cases) {
    g_SystemConfig.Rules.Set({each.Pattern});
    EXPECT_EQ(g_SystemConfig.IsBlockedPeer(each.Address), each.Blocked)
        << each.Pattern << " " << each.Address;
  }
  g_SystemConfig.Rules.Set({});
  EXPECT_EQ(g_SystemConfig.IsBlockedPeer("10.0.0.1"), 0);
}

TEST_F(Rules, TheFileHoldsOnePatternALine) {
  EXPECT_EQ(Load("10.\r\n*.Test\n \t*.test \r\n\n10.0"), (NameTable{"10.", "*.Test", "", "10.0"}));
  EXPECT_EQ(g_SystemConfig.AddRule("*.TEST"), 0);
  EXPECT_EQ(g_SystemConfig.AddRule("new"), 1);
  EXPECT_EQ(g_SystemConfig.DeleteRule("none"), 0);
  EXPECT_EQ(g_SystemConfig.DeleteRule(""), 1);
  EXPECT_EQ(g_SystemConfig.DeleteRule("*.tesT"), 1);
  g_SystemConfig.SaveRules();
  EXPECT_EQ(ReadFile(path_), "10.\r\n10.0\r\nnew\r\n");
  EXPECT_EQ(Load(std::string_view("10.\0x\n\xff\n", 8)), (NameTable{"10.", "\xff"}));
  EXPECT_EQ(Load(std::string(3000, 'x')), (NameTable{std::string(1023, 'x'), std::string(954, 'x')}));
  std::filesystem::remove(path_);
  std::filesystem::create_directory(path_);
  g_SystemConfig.LoadRules();
  EXPECT_TRUE(g_SystemConfig.Rules.Get()->empty());
  g_SystemConfig.SaveRules();
  EXPECT_EQ(FileNames(world_.App()), std::vector<std::string>{"rules.ini"}) << "nothing half written is left";
}

}  // namespace
}  // namespace velnor::test
