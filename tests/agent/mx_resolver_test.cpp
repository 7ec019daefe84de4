#include "agent/mx_resolver.h"

#include <gtest/gtest.h>

#include <array>

#include "core/system_config.h"
#include "support/scripted_name_server.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using test::AnswerFrom;
using test::ScriptedNameServer;

const ScriptedNameServer::Answer SILENT = [](const std::string&) { return std::nullopt; };

std::vector<std::string> Hosts(const std::optional<MxResult>& result) {
  std::vector<std::string> names;
  for (const MxRecord& record : result.value_or(MxResult())) names.emplace_back(record.HostName);
  return names;
}

// Two name servers that differ in address and share a port, in the settings' two places.
class LookupMxTest : public testing::Test {
 protected:
  void Start(ScriptedNameServer::Answer primary, ScriptedNameServer::Answer secondary) {
    primary_.emplace(std::move(primary));
    secondary_.emplace(std::move(secondary), primary_->Port(), "127.0.0.2");
    g_SystemConfig.PrimaryDNS.Set("127.0.0.1");
    g_SystemConfig.SecondaryDNS.Set("127.0.0.2");
  }
  std::optional<MxResult> Lookup(std::string_view domain) { return LookupMx(domain, primary_->Port()); }

  std::optional<ScriptedNameServer> primary_;
  std::optional<ScriptedNameServer> secondary_;
};

TEST_F(LookupMxTest, PrimarysAnswerIsFinalEvenIfItKnowsNothing) {
  Start(AnswerFrom({}), AnswerFrom({{"a.bc", {{10, "mx.test"}}}}));
  EXPECT_EQ(Lookup("a.bc"), std::nullopt);
  EXPECT_TRUE(secondary_->Queries().empty());
}

TEST_F(LookupMxTest, ASilentPrimaryIsAskedOnceAndGivenUpForTheSecondary) {
  Start(SILENT, AnswerFrom({{"a.bc", {{20, "second.test"}, {10, "first.test"}}}}));
  EXPECT_EQ(Hosts(Lookup("a.bc")), (std::vector{"first.test"s, "second.test"s}));
  EXPECT_EQ(primary_->Queries().size(), 1U);
  EXPECT_EQ(primary_->Queries(), secondary_->Queries());

  g_SystemConfig.SecondaryDNS.Set("");
  EXPECT_EQ(Lookup("a..bc"), std::nullopt) << "no name server has to say so";
  EXPECT_EQ(primary_->Queries().size(), 1U);
}

TEST(QueryNameServer, TakesOneDatagramOrTellsWhyNot) {
  ScriptedNameServer server([](const std::string&) { return std::string(3000, 'x'); });
  std::array<char, 2048> reply;
  EXPECT_EQ(QueryNameServer("a.bc", "127.0.0.1", server.Port(), DNS_TYPE_MX, reply), 2048);
  EXPECT_EQ(QueryNameServer("a.bc", "", server.Port(), DNS_TYPE_MX, reply), DNS_NO_SERVER);
  EXPECT_EQ(QueryNameServer("a.bc", "127.0.0.1", 65536, DNS_TYPE_MX, reply), DNS_NOT_SENT);
}

}  // namespace
}  // namespace velnor
