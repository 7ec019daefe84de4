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
  const std::string scope = platform::IsAdministrator() ? "--system" : "--user";
  EXPECT_EQ(test::ReadFile(said),
            scope + " --no-ask-password --quiet start --no-block -- VelnorService.service\n" + scope +
                " --no-ask-password --quiet stop --no-block -- VelnorService.service\n");

  manager.RunProgram("touch", world.Root() / "made");
  EXPECT_TRUE(test::WaitUntil([&world] { return std::filesystem::exists(world.Root() / "made"); }));
  ::setenv("PATH", before.c_str(), 1);
}

}  // namespace
}  // namespace velnor
