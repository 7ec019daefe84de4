// Files: moves that never take another's place, and replacement of a whole file.

#include "platform/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/file_replacement.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

class Files : public ::testing::Test {
 protected:
  std::string Path(const char* name) const { return (world_.Root() / "files" / name).string(); }
  std::vector<std::string> Names() const { return FileNames(world_.Root() / "files"); }

  void SetUp() override {
    fs::create_directories(Path("directory/below"));
    WriteFile(Path("file"), "old");
    WriteFile(Path("other"), "other");
    fs::create_symlink("nowhere", Path("dangling"));
    fs::create_symlink("file", Path("link"));
  }

  TestWorld world_;
};

TEST_F(Files, AMoveFailsWhereSomethingStands) {
  const struct {
    const char* From;
    const char* To;
    int Error;
  } cases[] = {
      {"file", "other", EEXIST},    {"file", "directory", EEXIST}, {"directory", "other", EEXIST},
      {"file", "dangling", EEXIST}, {"missing", "new", ENOENT},    {"file", "missing/new", ENOENT},
      {"file", "file", EEXIST},     {"directory", "moved", 0},     {"link", "moved-link", 0},
      {"other", "moved/other", 0},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(platform::MoveFile(Path(each.From), Path(each.To)), each.Error) << each.From << " " << each.To;
  }
  EXPECT_EQ(Names(), (std::vector<std::string>{"dangling", "file", "moved", "moved-link"}));
  EXPECT_EQ(ReadFile(Path("moved/other")), "other");
  EXPECT_EQ(ReadFile(Path("file")), "old");
  EXPECT_TRUE(platform::IsLink(Path("moved-link")));
}

TEST_F(Files, AReplacementTakesTheOldFilesPlaceWhole) {
  ::chmod(Path("file").c_str(), 0640);
  ASSERT_TRUE(platform::ReplaceTextFile(Path("link"), "new\nlines\r\nend"));
  EXPECT_EQ(ReadFile(Path("file")), "new\r\nlines\r\r\nend");
  EXPECT_TRUE(platform::IsLink(Path("link")));
  EXPECT_EQ(static_cast<unsigned>(fs::status(Path("file")).permissions()), 0640u);

  {
    platform::FileReplacement abandoned;
    ASSERT_TRUE(abandoned.Open(Path("file")));
    abandoned.Write("half");
  }
  EXPECT_EQ(ReadFile(Path("file")), "new\r\nlines\r\r\nend");
  EXPECT_FALSE(platform::ReplaceTextFile(Path("directory"), "x"));
  EXPECT_FALSE(platform::ReplaceTextFile(Path("missing/new"), "x"));
  EXPECT_EQ(Names(), (std::vector<std::string>{"dangling", "directory", "file", "link", "other"}));
}

}  // namespace
}  // namespace velnor::test
