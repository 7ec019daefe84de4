// The scan of a directory.

#include "core/dir_scan.h"

#include <gtest/gtest.h>

#include <map>

#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

TEST(DirScan, GivesEveryEntryOnceWithoutFollowingLinks) {
  const TestWorld world;
  const fs::path directory = world.Root() / "scan";
  fs::create_directories(directory / "below");
  WriteFile(directory / "five", "12345");
  fs::create_directory_symlink("below", directory / "link");
  WriteFile(directory / "huge", "");
  fs::resize_file(directory / "huge", std::uintmax_t{5} << 30);

  const auto scan = DirOpen(directory.string());
  std::map<std::string, DirEntry> found;
  while (const DirEntry* entry = DirNext(scan.get())) found[entry->Name.c_str()] = *entry;
  EXPECT_EQ(found.size(), 6u);
  EXPECT_TRUE(found["."].IsDirectory && found[".."].IsDirectory && found["below"].IsDirectory);
  EXPECT_FALSE(found["link"].IsDirectory || found["five"].IsDirectory);
  EXPECT_EQ(found["five"].Size, 5u);
  EXPECT_EQ(found["huge"].Size, UINT32_MAX);
  const auto missing = DirOpen((directory / "missing").string());
  ASSERT_NE(missing, nullptr);
  EXPECT_EQ(DirNext(missing.get()), nullptr);
  EXPECT_EQ(DirOpen(std::string(5000, 'x')), nullptr);
  EXPECT_EQ(DirNext(nullptr), nullptr);
}

}  // namespace
}  // namespace velnor::test
