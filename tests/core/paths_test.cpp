// What stands at a path, and the scan of a directory.

#include "core/paths.h"

#include <gtest/gtest.h>

#include <map>

#include "core/dir_scan.h"
#include "platform/clock.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

TEST(PathExists, KnowsFilesDirectoriesAndPatterns) {
  const TestWorld world;
  const std::string root = world.Root().string();
  fs::create_directories(world.Root() / "some.dir");
  WriteFile(world.Root() / "file.txt", "");
  WriteFile(world.Root() / "star*", "");
  fs::create_symlink("nowhere", world.Root() / "dangling");
  const struct {
    std::string Path;
    int Anything, Directory;
  } cases[] = {
      {"/file.txt", 1, 0},   {"/some.dir", 1, 1}, {"/missing", 0, 0},      {"/dangling", 0, 0},
      {"/file.txt/x", 0, 0}, {"/*.txt", 1, 0},    {"/F?LE.*", 1, 0},       {"/*.dir", 1, 1},
      {"/*.none", 0, 0},     {"/star*", 1, 0},    {"/some.dir/*.x", 0, 0}, {"/missing/*", 0, 0},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(PathExists(root + each.Path, PathFlag::ANYTHING), each.Anything) << each.Path;
    EXPECT_EQ(PathExists(root + each.Path, PathFlag::DIRECTORY), each.Directory) << each.Path;
  }
  EXPECT_EQ(PathExists(AppDirectory(), PathFlag::DIRECTORY), 1);
  EXPECT_FALSE(AppDirectory().ends_with('/'));
}

TEST(DirScan, GivesEveryEntryOnceWithoutFollowingLinks) {
  const TestWorld world;
  const fs::path directory = world.Root() / "scan";
  fs::create_directories(directory / "below");
  WriteFile(directory / "five", "12345");
  fs::create_directory_symlink("below", directory / "link");
  WriteFile(directory / "huge", "");
  fs::resize_file(directory / "huge", std::uintmax_t{5} << 30);

  for (const std::string end : {"", "/"}) {
    const auto scan = DirOpen(directory.string() + end);
    std::map<std::string, DirEntry> found;
    while (const DirEntry* entry = DirNext(scan.get())) {
      EXPECT_EQ(entry->Index, found.size() + 1);
      EXPECT_NEAR(static_cast<double>(entry->CreateTime), static_cast<double>(platform::UnixNow()), 60);
      found[entry->Name.c_str()] = *entry;
    }
    EXPECT_EQ(found.size(), 6u);
    EXPECT_TRUE(found["."].IsDirectory && found[".."].IsDirectory && found["below"].IsDirectory);
    EXPECT_FALSE(found["link"].IsDirectory || found["five"].IsDirectory);
    EXPECT_EQ(found["five"].Size, 5u);
    EXPECT_EQ(found["huge"].Size, UINT32_MAX);
    EXPECT_EQ(DirNext(scan.get()), nullptr);
  }
  const auto missing = DirOpen((directory / "missing").string());
  ASSERT_NE(missing, nullptr);
  EXPECT_EQ(DirNext(missing.get()), nullptr);
  EXPECT_EQ(DirOpen(std::string(5000, 'x')), nullptr);
  EXPECT_EQ(DirNext(nullptr), nullptr);
}

}  // namespace
}  // namespace velnor::test
