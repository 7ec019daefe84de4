#include "agent/mx_resolver.h"

#include <gtest/gtest.h>

#include <array>

#include "core/system_config.h"
#include "support/scripted_name_server.h"

namespace velnor {
namespace {

using test::DnsReply;
using test::ScriptedNameServer;

ScriptedNameServer::Answer Always(std::optional<std::string> reply) {
  return [reply](const std::string&) { return reply; };
}

// Two name servers that differ in address and share a port, in the settings' two places.
TEST(LookupMx, ThePrimarysAnswerIsFinalAndOnlyItsSilenceLeadsToTheSecondary) {
  const std::string known = DnsReply(
      "a.bc", {test::DnsMx(20, test::DnsLabels("second")), test::DnsMx(10, test::DnsLabels("first"))});
  for (const bool silent : {false, true}) {
    const ScriptedNameServer primary(Always(silent ? std::nullopt : std::optional(DnsReply("a.bc", {}))));
    const ScriptedNameServer secondary(Always(known), primary.Port(), "127.0.0.2");
    g_SystemConfig.PrimaryDNS.Set("127.0.0.1");
    g_SystemConfig.SecondaryDNS.Set("127.0.0.2");
    const std::optional<MxResult> result = LookupMx("a.bc", primary.Port());
    ASSERT_EQ(result.has_value(), silent);
    EXPECT_EQ(result.value_or(MxResult(1)).at(0).HostName.View(), silent ? "first" : "");
    EXPECT_EQ(primary.Queries().size(), 1U);
    EXPECT_EQ(secondary.Queries(), silent ? primary.Queries() : std::vector<std::string>());
    EXPECT_EQ(LookupMx("a..bc", primary.Port()), std::nullopt) << "no name server has to say so";
    EXPECT_EQ(primary.Queries().size(), 1U);
  }
}

TEST(QueryNameServer, TakesNoMoreOfADatagramThanThereIsRoomFor) {
  const ScriptedNameServer server(Always(std::string(3000, 'x')));
  std::array<char, 2048> reply;
  EXPECT_EQ(QueryNameServer("a.bc", "127.0.0.1", server.Port(), DNS_TYPE_MX, reply), 2048);
}

}  // namespace
}  // namespace velnor
