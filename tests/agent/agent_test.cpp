#include "agent/agent.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>

#include "agent/agent_world.h"
#include "core/system_config.h"
#include "platform/clock.h"
#include "support/scripted_name_server.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using namespace test;
using Texts = std::vector<std::string>;

// Whether this process may bind a datagram socket there.
bool CanServe(const char* address, std::uint16_t port) {
  const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  ::inet_pton(AF_INET, address, &endpoint.sin_addr);
  const bool bound = ::bind(probe, reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) == 0;
  ::close(probe);
  return bound;
}

class AgentTest : public AgentWorld {
 protected:
  void PutMany(int count, const std::string& start, std::string_view recipients) {
    for (int i = 0; i < count; ++i) PutSpoolFile(start + std::to_string(i), SpoolText(recipients, ALICE, 0));
  }
  bool WaitForEmptySpool() {
    return WaitUntil([&] { return FileNames(world_.Spool()).empty(); }, std::chrono::seconds(40));
  }
};

// A hundred look-ups wait for a name server, so the message claimed behind them waits for a slot.
TEST_F(AgentTest, WithAllSlotsBusyAStopFinishesWhatIsClaimed) {
  constexpr const char* ADDRESS = "127.0.9.53";
  if (!CanServe(ADDRESS, 53)) GTEST_SKIP() << "no use of the name servers' port";
  std::promise<void> release;
  const std::shared_future<void> released = release.get_future().share();
  const ScriptedNameServer name_server(
      [&](const std::string& query) {
        released.wait();
        return AnswerFrom({})(query);
      },
      53, ADDRESS);
  g_SystemConfig.PrimaryDNS.Set(ADDRESS);
  g_SystemConfig.SecondaryDNS.Set(ADDRESS);

  PutMany(AGENT_SLOTS, "sfar", "ann@far.test");
  platform::SetClockOffset(3600);
  AgentStart();
  EXPECT_TRUE(WaitUntil([] { return AgentWorkerCount() == AGENT_SLOTS; }));
  PutMany(1, "slast", "ann@far.test");
  EXPECT_TRUE(WaitUntil([&] { return std::filesystem::exists(world_.Spool() / "__slast0"); }));

  platform::SetClockOffset(0);  // nothing more is eligible
  auto stop = std::async(std::launch::async, AgentStop);
  EXPECT_EQ(stop.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  EXPECT_TRUE(std::filesystem::exists(world_.Spool() / "__slast0"));
  release.set_value();
  ASSERT_EQ(stop.wait_for(std::chrono::seconds(30)), std::future_status::ready);
  EXPECT_EQ(AgentWorkerCount(), 0);
  EXPECT_EQ(Waiting(), StoredTexts(Texts(AGENT_SLOTS + 1, SpoolText("ann@far.test", ALICE, 1))));
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
  AgentStart();
  EXPECT_TRUE(WaitUntil(
      [&] {
        g_SystemConfig.LoadConfig();
        g_SystemConfig.AddMailList("other@example.test");
        g_SystemConfig.AddDomain("other.test");
        g_SystemConfig.DeleteDomain("other.test");
        return FileNames(world_.Spool()).empty();
      },
      std::chrono::seconds(40)));
  AgentStop();
  PutMany(1, "safter", "bob@example.test");
  AgentStart();
  EXPECT_TRUE(WaitForEmptySpool());
  AgentStop();
  EXPECT_EQ(AgentWorkerCount(), 0);
  EXPECT_EQ(Inbox("bob"), StoredTexts(Texts(COUNT + 1, MESSAGE)));
  EXPECT_EQ(Inbox("team"), StoredTexts(Texts(COUNT, MESSAGE)));
  EXPECT_EQ(Inbox("alice").size(), 2U * COUNT) << "the list's copies, and the notices";
}

}  // namespace
}  // namespace velnor
