// Giving files away, and touching them with another account's rights: only an administrator can see it.

#include "platform/account.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/file_replacement.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

constexpr uid_t OTHER = 4711;
constexpr gid_t GROUP = 4712;

uid_t OwnerOf(const fs::path& path) {
  const auto owner = platform::OwnerOf(path.string());
  return owner ? owner->User : static_cast<uid_t>(-1);
}

class Accounts : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(tree_ / "below/deep");
    // Under a root that is one by name only there is no second account.
    if (::geteuid() != 0 || ::chown((tree_ / "below/deep").c_str(), OTHER, OTHER) != 0) GTEST_SKIP();
    WriteFile(tree_ / "below/file", "mail");
    WriteFile(world_.Root() / "outside", "secret");
    fs::permissions(world_.Root(), fs::perms::others_exec, fs::perm_options::add);
    fs::permissions(world_.Root() / "outside", fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink(world_.Root() / "outside", tree_ / "below/link");
  }

  TestWorld world_;
  const fs::path tree_ = world_.Root() / "tree";
};

TEST_F(Accounts, ATreeIsGivenAndNothingThatItLeadsTo) {
  WriteFile(tree_ / "below/deep/root's", "left alone: its directory was given before");
  EXPECT_TRUE(platform::GiveTree(tree_.string(), {OTHER, OTHER}, {}));
  for (const char* name : {"", "below", "below/file", "below/link"})
    EXPECT_EQ(OwnerOf(tree_ / name), OTHER) << name;
  EXPECT_EQ(OwnerOf(tree_ / "below/deep/root's"), 0U);
  EXPECT_EQ(OwnerOf(world_.Root() / "outside"), 0U);
}

TEST_F(Accounts, AFileWithASecondNameIsNotGiven) {
  fs::create_hard_link(world_.Root() / "outside", tree_ / "below/hard");
  EXPECT_FALSE(platform::GiveTree(tree_.string(), {OTHER, OTHER}, {}));
  EXPECT_EQ(OwnerOf(world_.Root() / "outside"), 0U);
  EXPECT_EQ(OwnerOf(tree_ / "below/file"), OTHER);
  EXPECT_FALSE(platform::GiveTree((tree_ / "missing").string(), {OTHER, OTHER}, {}));
  EXPECT_FALSE(platform::GiveDirectory((tree_ / "below/link").string(), {OTHER, OTHER}, {}));
}

TEST_F(Accounts, OfATreeOnlyWhatIsItsOwnersIsGiven) {
  const platform::Account owner{OTHER, OTHER};
  const platform::Account to{OTHER + 1, OTHER + 1};
  WriteFile(tree_ / "below/deep/root's", "");
  EXPECT_FALSE(platform::GiveTree(tree_.string(), to, owner));
  EXPECT_FALSE(platform::GiveDirectory(tree_.string(), to, owner));
  EXPECT_EQ(OwnerOf(tree_), 0U);
  EXPECT_FALSE(platform::GiveTree((tree_ / "below/deep").string(), to, owner));
  EXPECT_EQ(OwnerOf(tree_ / "below/deep"), to.User);
  EXPECT_EQ(OwnerOf(tree_ / "below/deep/root's"), 0U);
}

TEST_F(Accounts, OneReachesWhatLiesBehindOpenDirectoriesOnly) {
  const platform::Account other{OTHER, OTHER};
  EXPECT_TRUE(platform::CanReach(other, (tree_ / "below/missing").string()));
  fs::permissions(tree_ / "below", fs::perms::owner_all);
  EXPECT_FALSE(platform::CanReach(other, (tree_ / "below/deep").string()));
  WriteFile(tree_ / "below/new", "with the own rights, as before");
  EXPECT_EQ(OwnerOf(tree_ / "below/new"), 0U);
}

// 0, or what was wrong. It changes the rights of its process.
int WorkInDirectoryOfAnother(const std::string& directory) {
  const auto can_write = [](const char* path) {
    const int file = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    return file >= 0 && ::close(file) == 0;
  };
  if (::chdir(directory.c_str()) != 0 || !can_write("../link")) return 1;
  if (!platform::WorkAsOwnerOf(".")) return 2;
  if (can_write("../link") || can_write("../new") || !can_write("own")) return 3;
  if (!platform::ReplaceTextFile("of-a-group", "new")) return 5;
  struct stat replaced {};
  if (::stat("of-a-group", &replaced) != 0 || replaced.st_gid != GROUP || (replaced.st_mode & 0777) != 0640)
    return 6;
  const platform::OwnFileRights rights;
  return can_write("../link") && OwnerOf("own") == OTHER ? 0 : 4;
}

TEST_F(Accounts, AnAdministratorWorksWithTheRightsOfADirectorysOwner) {
  EXPECT_TRUE(platform::WorkAsOwnerOf(tree_.string()));
  fs::permissions(tree_, fs::perms::all);
  EXPECT_FALSE(platform::WorkAsOwnerOf(tree_.string())) << "others could put links there";
  const fs::path shared = tree_ / "below/deep/of-a-group";
  WriteFile(shared, "old");
  ASSERT_EQ(::chown(shared.c_str(), OTHER, GROUP), 0);
  ASSERT_EQ(::chmod(shared.c_str(), 0640), 0);
  EXPECT_EXIT(::_exit(WorkInDirectoryOfAnother((tree_ / "below/deep").string())),
              ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace velnor::test
