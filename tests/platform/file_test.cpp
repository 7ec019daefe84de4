// Files: moves that never take another's place, replacement of a whole file, and the guard of the single
// instance.

#include "platform/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/file_replacement.h"
#include "platform/single_instance.h"
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

TEST_F(Files, ProbesTellWhatStandsAtAPath) {
  using platform::PathKind;
  const std::pair<std::string, PathKind> cases[] = {
      {Path("file"), PathKind::FILE},           {Path("link"), PathKind::FILE},
      {Path("directory"), PathKind::DIRECTORY}, {Path("dangling"), PathKind::MISSING},
      {Path("file/below"), PathKind::MISSING},  {Path(std::string(300, 'x').c_str()), PathKind::MISSING},
      {"/dev/null", PathKind::OTHER},           {"", PathKind::MISSING},
  };
  for (const auto& [path, kind] : cases) EXPECT_EQ(platform::ProbePath(path), kind) << path;
  EXPECT_EQ(platform::CreateEmptyFile(Path("file")), EEXIST);
  EXPECT_EQ(platform::CreateEmptyFile(Path("dangling")), EEXIST);
  EXPECT_EQ(platform::SyncDirectory(Path("missing")), ENOENT);
  EXPECT_EQ(platform::SyncDirectory(Path("directory")), 0);
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

TEST(SingleInstance, HoldsItsNameWhileItLives) {
  const std::string name = "velnor-test-" + std::to_string(::getpid());
  auto first = std::make_unique<platform::SingleInstance>();
  platform::SingleInstance second;
  EXPECT_TRUE(first->Acquire(name));
  EXPECT_FALSE(second.Acquire(name));
  EXPECT_TRUE(platform::SingleInstance().Acquire(name + "2"));
  first.reset();
  EXPECT_TRUE(second.Acquire(name));
  EXPECT_FALSE(platform::SingleInstance().Acquire(std::string(200, 'x')));
}

}  // namespace
}  // namespace velnor::test
