#include "agent/agent.h"

#include <future>

#include "agent/agent_world.h"
#include "core/system_config.h"
#include "platform/clock.h"
#include "support/scripted_name_server.h"

namespace velnor {
namespace {

using namespace test;

Texts Repeated(int count, const std::string& text) {
  Texts texts;
  while (count-- > 0) texts.insert(text);
  return texts;
}

class AgentTest : public AgentWorld {
 protected:
  void PutMany(int count, const std::string& start, const std::string& recipients) {
    for (int i = 0; i < count; ++i) PutSpoolFile(start + std::to_string(i), SpoolText(recipients, ALICE, 0));
  }
};

// A hundred look-ups wait for a name server, so the message claimed behind them waits for a slot. Mail for
// this server needs none.
TEST_F(AgentTest, WithAllSlotsBusyLocalMailGoesOnAndAStopFinishesWhatIsClaimed) {
  constexpr const char* ADDRESS = "127.0.9.53";
  std::promise<void> release;
  const std::shared_future<void> released = release.get_future().share();
  const auto answer = [&](const std::string&) {
    released.wait();
    return DnsReply("far.test", {});
  };
  const ScriptedNameServer name_server(answer, 53, ADDRESS);
  if (name_server.Port() != 53) GTEST_SKIP() << "no use of the name servers' port";
  g_SystemConfig.PrimaryDNS.Set(ADDRESS);
  g_SystemConfig.SecondaryDNS.Set(ADDRESS);

  PutMany(AGENT_SLOTS, "sfar", "ann@far.test");
  platform::SetClockOffset(3600);
  AgentStart();
  EXPECT_TRUE(WaitUntil([] { return AgentWorkerCount() == AGENT_SLOTS; }));
  const auto deliver_local = [this] {
    PutMany(1, "slocal", "bob@example.test");
    for (const char* name : {"slocal0", "__slocal0"}) {
      EXPECT_TRUE(WaitUntil([&] { return !std::filesystem::exists(world_.Spool() / name); }));
    }
  };
  deliver_local();
  PutMany(1, "slast", "ann@far.test");
  EXPECT_TRUE(WaitUntil([this] { return std::filesystem::exists(world_.Spool() / "__slast0"); }));
  deliver_local();
  EXPECT_EQ(Inbox("bob"), Repeated(2, MESSAGE));

  platform::SetClockOffset(0);  // nothing more is eligible
  auto stop = std::async(std::launch::async, AgentStop);
  EXPECT_EQ(stop.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  EXPECT_TRUE(std::filesystem::exists(world_.Spool() / "__slast0"));
  release.set_value();
  ASSERT_EQ(stop.wait_for(std::chrono::seconds(30)), std::future_status::ready);
  EXPECT_EQ(AgentWorkerCount(), 0);
  EXPECT_EQ(Waiting(), Repeated(AGENT_SLOTS + 1, SpoolText("ann@far.test", ALICE, 1)));
}

TEST_F(AgentTest, DeliversWhileTheSettingsAreLoadedAnewAndAfterASecondStart) {
  constexpr int COUNT = 60;
  world_.AddAccount(DOMAIN, "team", "password");
  g_SystemConfig.SaveDomains();
  g_SystemConfig.AddMailList("team@example.test");
  g_SystemConfig.AddListMember("team@example.test", ALICE, 0);
  g_SystemConfig.SaveMailLists();
  PutMany(COUNT, "s", "bob@example.test,team@example.test,nobody@example.test");
  platform::SetClockOffset(3600);
  const auto deliver_all = [this] {
    AgentStart();
    const auto spool_is_empty = [this] {
      g_SystemConfig.LoadConfig();
      g_SystemConfig.AddDomain("other.test");
      g_SystemConfig.DeleteDomain("other.test");
      return FileNames(world_.Spool()).empty();
    };
    EXPECT_TRUE(WaitUntil(spool_is_empty, std::chrono::seconds(40)));
    AgentStop();
    EXPECT_EQ(AgentWorkerCount(), 0);
  };
  deliver_all();
  PutMany(1, "safter", "bob@example.test");
  deliver_all();
  EXPECT_EQ(Inbox("bob"), Repeated(COUNT + 1, MESSAGE));
  EXPECT_EQ(Inbox("team"), Repeated(COUNT, MESSAGE));
  EXPECT_EQ(Inbox("alice").size(), 2U * COUNT) << "the list's copies, and the notices";
  EXPECT_TRUE(world_.WaitForLog("AGENT server started") && world_.WaitForLog("AGENT server ended"));
}

}  // namespace
}  // namespace velnor
