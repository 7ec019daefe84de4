#include "agent/mx_resolver.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "core/system_config.h"
#include "support/scripted_name_server.h"

namespace velnor {
namespace {

using namespace std::string_literals;
using test::AnswerFrom;
using test::ScriptedNameServer;

const ScriptedNameServer::Answer SILENT = [](const std::string&) { return std::nullopt; };
const ScriptedNameServer::Answer EMPTY_DATAGRAM = [](const std::string&) { return ""s; };

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

TEST_F(LookupMxTest, AsksThePrimaryByOneQueryAndSortsItsAnswer) {
  Start(AnswerFrom({{"a.bc", {{20, "second.test"}, {10, "first.test"}}}}), SILENT);
  EXPECT_EQ(Hosts(Lookup("a.bc")), (std::vector{"first.test"s, "second.test"s}));
  const std::string query =
      "\x11\xDF\x01\x00\x00\x01\x00\x00\x00\x00\x00\x00"s + "\1a\2bc\0"s + "\x00\x0F\x00\x01"s;
  EXPECT_EQ(primary_->Queries(), std::vector{query});
  EXPECT_TRUE(secondary_->Queries().empty());
}

TEST_F(LookupMxTest, PrimarysAnswerIsFinalEvenIfItKnowsNothing) {
  Start(AnswerFrom({}), AnswerFrom({{"a.bc", {{10, "mx.test"}}}}));
  EXPECT_EQ(Lookup("a.bc"), std::nullopt);
  EXPECT_TRUE(secondary_->Queries().empty());
}

TEST_F(LookupMxTest, NoReplyFromThePrimaryLeadsToTheSecondary) {
  Start(EMPTY_DATAGRAM, AnswerFrom({{"a.bc", {{10, "mx.test"}}}}));
  EXPECT_EQ(Hosts(Lookup("a.bc")), std::vector{"mx.test"s});
  EXPECT_EQ(primary_->Queries(), secondary_->Queries());

  g_SystemConfig.SecondaryDNS.Set("");
  EXPECT_EQ(Lookup("a.bc"), std::nullopt);
}

TEST_F(LookupMxTest, ADomainWithoutWireFormIsAskedOfNobody) {
  Start(AnswerFrom({}), AnswerFrom({}));
  for (const std::string& domain : {""s, "a..b"s, "a.bc."s, std::string(64, 'a') + ".test"}) {
    EXPECT_EQ(Lookup(domain), std::nullopt) << domain;
  }
  EXPECT_TRUE(primary_->Queries().empty());
  EXPECT_TRUE(secondary_->Queries().empty());
}

TEST_F(LookupMxTest, ASilentServerIsGivenUp) {
  Start(SILENT, AnswerFrom({{"a.bc", {{10, "mx.test"}}}}));
  int result = 0;
  std::jthread direct([&] {
    std::array<char, 64> reply;
    result = QueryNameServer("a.bc", "127.0.0.1", primary_->Port(), DNS_TYPE_MX, reply);
  });
  EXPECT_EQ(Hosts(Lookup("a.bc")), std::vector{"mx.test"s});
  direct.join();
  EXPECT_EQ(result, DNS_TIMEOUT);
  EXPECT_EQ(primary_->Queries().size(), 2u) << "no query is repeated";
}

TEST(QueryNameServer, TakesOneDatagramOrTellsWhyNot) {
  ScriptedNameServer server([](const std::string&) { return std::string(3000, 'x'); });
  std::array<char, 2048> reply;
  EXPECT_EQ(QueryNameServer("a.bc", "127.0.0.1", server.Port(), DNS_TYPE_MX, reply), 2048);
  EXPECT_EQ(QueryNameServer("a.bc", "localhost", server.Port(), DNS_TYPE_MX, reply), 2048);
  EXPECT_EQ(QueryNameServer("a.bc", "", server.Port(), DNS_TYPE_MX, reply), DNS_NO_SERVER);
  EXPECT_EQ(QueryNameServer("a.bc", "127.0.0.1", 65536, DNS_TYPE_MX, reply), DNS_NOT_SENT);
}

TEST(ResolveMxAddresses, GivesEachKnownHostItsAddresses) {
  MxResult records(3);
  records[1].HostName.Set("127.0.0.9");
  records[2].HostName.Set("localhost");
  const auto resolved = ResolveMxAddresses(records);
  ASSERT_TRUE(resolved && resolved->size() == 3);
  EXPECT_TRUE(resolved->at(0).Addresses.empty());
  ASSERT_EQ(resolved->at(1).Addresses.size(), 1u);
  EXPECT_EQ(resolved->at(1).Addresses.front().View(), "127.0.0.9");
  ASSERT_FALSE(resolved->at(2).Addresses.empty());
  EXPECT_EQ(resolved->at(2).Addresses.front().View(), "127.0.0.1");

  EXPECT_EQ(ResolveMxAddresses(std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace velnor
