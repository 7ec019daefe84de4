// The console's seam to systemd: which manager is asked, and for which unit. A systemctl that is a script
// stands in for the real one.

#include "console/logic/systemd_service_manager.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "platform/account.h"
#include "support/test_world.h"

namespace velnor {
namespace {

TEST(SystemdServiceManager, AsksForTheUnitOfTheService) {
  const test::TestWorld world;
  const std::filesystem::path program = world.Root() / "systemctl";
  const std::filesystem::path said = world.Root() / "said";
  test::WriteFile(program, "#!/bin/sh\necho \"$@\" >> '" + said.string() + "'\necho loaded\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  const std::string before = std::getenv("PATH");
  ::setenv("PATH", (world.Root().string() + ":" + before).c_str(), 1);

  SystemdServiceManager manager;
  EXPECT_TRUE(manager.OpenManager());
  EXPECT_TRUE(manager.OpenService("VelnorService"));
  test::WriteFile(said, "");
  manager.RequestStart();
  manager.RequestStop();
  const char* const scope = platform::IsAdministrator() ? "--system" : "--user";
  const std::string asked = test::ReadFile(said);
  for (const char* const request :
       {"start --no-block -- VelnorService.service\n", "stop --no-block -- VelnorService.service\n", scope}) {
    EXPECT_NE(asked.find(request), std::string::npos) << asked;
  }
  ::setenv("PATH", before.c_str(), 1);
}

}  // namespace
}  // namespace velnor
