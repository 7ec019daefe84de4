// The text of the unit, and the command line that asks for it. What systemd makes of the text is seen in
// tests/system/test_service.py.

#include "apps/service_unit.h"

#include <gtest/gtest.h>

#include "apps/service_entry.h"
#include "platform/account.h"

namespace velnor {
namespace {

using platform::ManagerScope;

// The values of a key, in their order.
std::vector<std::string> Values(const std::string& unit, const std::string& key) {
  std::vector<std::string> values;
  for (std::size_t place = 0; (place = unit.find("\n" + key + "=", place)) != std::string::npos;) {
    const std::size_t from = place + key.size() + 2;
    place = unit.find('\n', from);
    values.push_back(unit.substr(from, place - from));
  }
  return values;
}

using Expected = std::vector<std::string>;

TEST(ServiceUnit, CarriesWhatDiffersFromServerToServer) {
  const struct {
    UnitSettings Settings;
    const char* Start;
    const char* Directory;
    const char* Writable;
    const char* Home;
    const char* Temporary;
  } cases[] = {
      {{ManagerScope::SYSTEM, "/opt/v/VelnorService", "/srv/velnor", "/data/mail", "post"},
       "\"/opt/v/VelnorService\"",
       "/srv/velnor",
       "\"-/srv/velnor\" \"-/data/mail\"",
       "yes",
       "yes"},
      {{ManagerScope::SYSTEM, "/opt/50% off/V", "/srv/a b%h", "/srv/$m", "post"},
       "\"/opt/50%% off/V\"",
       "/srv/a b%%h",
       "\"-/srv/a b%%h\" \"-/srv/$m\"",
       "yes",
       "yes"},
      {{ManagerScope::SYSTEM, "/home/ann/V", "/homes", "/var/tmp/m", "post"},
       "\"/home/ann/V\"",
       "/homes",
       "\"-/homes\" \"-/var/tmp/m\"",
       "read-only",
       "no"},
      {{ManagerScope::SYSTEM, "/opt/V", "/root", "/m", "post"},
       "\"/opt/V\"",
       "/root",
       "\"-/root\" \"-/m\"",
       "read-only",
       "yes"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.Settings.Program);
    const std::string unit = UnitText(test.Settings);
    EXPECT_EQ(Values(unit, "ExecStart"), Expected{test.Start});
    EXPECT_EQ(Values(unit, "WorkingDirectory"), Expected{test.Directory});
    EXPECT_EQ(Values(unit, "ReadWritePaths"), Expected{test.Writable});
    EXPECT_EQ(Values(unit, "ProtectHome"), Expected{test.Home});
    EXPECT_EQ(Values(unit, "PrivateTmp"), Expected{test.Temporary});
    EXPECT_EQ(Values(unit, "User"), Expected{"post"});
    EXPECT_EQ(Values(unit, "AmbientCapabilities"), Expected{"CAP_NET_BIND_SERVICE"});
    EXPECT_EQ(Values(unit, "CapabilityBoundingSet"), Expected{"CAP_NET_BIND_SERVICE"});
    EXPECT_EQ(Values(unit, "WantedBy"), Expected{"multi-user.target"});
    EXPECT_EQ(Values(unit, "Restart"), Expected{"on-failure"});
    EXPECT_EQ(Values(unit, "Type"), Expected{"notify"});
  }
}

TEST(ServiceUnit, LeavesAUsersManagerWhatItCanCarryOut) {
  const std::string unit = UnitText({ManagerScope::USER, "/opt/V", "/home/ann/velnor", "/home/ann/mail", ""});
  EXPECT_EQ(Values(unit, "ExecStart"), Expected{"\"/opt/V\""});
  EXPECT_EQ(Values(unit, "WorkingDirectory"), Expected{"/home/ann/velnor"});
  EXPECT_EQ(Values(unit, "WantedBy"), Expected{"default.target"});
  EXPECT_EQ(Values(unit, "NoNewPrivileges"), Expected{"yes"});
  for (const char* key : {"User", "AmbientCapabilities", "CapabilityBoundingSet", "ReadWritePaths",
                          "ProtectSystem", "ProtectHome", "PrivateDevices", "RemoveIPC", "After", "Wants"}) {
    EXPECT_EQ(Values(unit, key), Expected{}) << key;
  }
}

TEST(ServiceUnit, RefusesPathsThatItCannotHold) {
  const struct {
    const char* Path;
    bool Fits;
  } cases[] = {
      {"/", true},      {"/a b/c", true}, {"/a%$b", true},  {"/\xc3\xa4", true},
      {"", false},      {"a/b", false},   {"/a\nb", false}, {"/a\tb", false},
      {"/a\\b", false}, {"/a ", false},   {"/a\\", false},  {"/a\x7f", false},
  };
  for (const auto& test : cases) EXPECT_EQ(FitsUnit(test.Path), test.Fits) << test.Path;
}

TEST(ServiceOrder, IsReadFromTheCommandLine) {
  using Words = std::vector<std::string_view>;
  const ManagerScope own = platform::IsAdministrator() ? ManagerScope::SYSTEM : ManagerScope::USER;
  const struct {
    Words Arguments;
    ServiceOrder Order;
  } good[] = {
      {{"/Service"}, {true, own, "", "", ""}},
      {{"/UnregServer"}, {false, own, "", "", ""}},
      {{"/Service", "--user", "--directory", "d"}, {true, ManagerScope::USER, "d", "", ""}},
      {{"/Service", "--account", "a", "--system", "--unit-directory", "u"},
       {true, ManagerScope::SYSTEM, "", "a", "u"}},
      {{"/UnregServer", "--system", "--unit-directory", "u"}, {false, ManagerScope::SYSTEM, "", "", "u"}},
  };
  for (const auto& test : good) {
    const auto order = ReadServiceOrder(test.Arguments);
    ASSERT_TRUE(order) << test.Arguments.back();
    EXPECT_EQ(order->Enter, test.Order.Enter);
    EXPECT_EQ(order->Scope, test.Order.Scope);
    EXPECT_EQ(order->Directory, test.Order.Directory);
    EXPECT_EQ(order->Account, test.Order.Account);
    EXPECT_EQ(order->UnitDirectory, test.Order.UnitDirectory);
  }
  const Words bad[] = {
      {},
      {"/service"},
      {"--user"},
      {"/Service", "/UnregServer"},
      {"/Service", "--directory"},
      {"/Service", "--directory", ""},
      {"/Service", "--user", "--account", "a"},
      {"/UnregServer", "--directory", "d"},
      {"/UnregServer", "--account", "a"},
      {"--help"},
  };
  for (const Words& arguments : bad) {
    EXPECT_FALSE(ReadServiceOrder(arguments)) << (arguments.empty() ? "" : arguments.back());
  }
}

}  // namespace
}  // namespace velnor
