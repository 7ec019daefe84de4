// Message files: published whole under their final name, or gone; and the head lines of a spool file.

#include "core/mail_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "core/dot_guard.h"
#include "core/spool_file.h"
#include "platform/file.h"
#include "support/resource_limit.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

class MailFiles : public ::testing::Test {
 protected:
  std::vector<std::string> Names() const { return FileNames(world_.Spool()); }
  std::string Spool() const { return world_.Spool().string(); }

  TestWorld world_;
};

TEST_F(MailFiles, ArePublishedWholeOrGone) {
  const std::pair<std::function<void(MailFile&)>, std::size_t> cases[] = {
      {[&](MailFile& file) {
         EXPECT_EQ(Names().front().front(), '_');
         EXPECT_TRUE(file.Publish());
         EXPECT_EQ(Names().front().front(), 's');
         file.Discard();
       },
       1},
      {[](MailFile&) {}, 0},  // left behind
      {[](MailFile& file) {
         platform::StartFiles();
         const ResourceLimit disk(RLIMIT_FSIZE, 50'000);
         EXPECT_FALSE(file.Write(std::string(100'000, 'x')) || file.Write("x") || file.Publish());
       },
       0},
      {[&](MailFile& file) {
         fs::remove(world_.Spool() / Names().front());
         EXPECT_FALSE(file.Publish());
       },
       0},
      {[&](MailFile& file) {
         WriteFile(world_.Spool() / ("s" + Names().front().substr(1)), "another");
         EXPECT_FALSE(file.Publish());
         EXPECT_EQ(ReadFile(world_.Spool() / Names().front()), "another");
       },
       1},
  };
  for (const auto& [happens, files_left] : cases) {
    {
      MailFile file;
      ASSERT_EQ(file.Create(Spool(), MailPlace::SPOOL, 1), 0);
      EXPECT_TRUE(file.Write("begun"));
      happens(file);
    }
    EXPECT_EQ(Names().size(), files_left);
    for (const std::string& name : Names()) fs::remove(world_.Spool() / name);
  }
  MailFile nowhere;
  EXPECT_EQ(nowhere.Create(Spool() + "/missing", MailPlace::SPOOL, 1), ENOENT);
  EXPECT_FALSE(nowhere.Write("x") || nowhere.Publish());
}

TEST_F(MailFiles, SpoolHeadComesBackAndOthersAreRefused) {
  MailFile file;
  ASSERT_EQ(file.Create(Spool(), MailPlace::SPOOL, 1), 0);
  std::string many = "a@b.test";
  for (int i = 0; i < 400; ++i) many += ",a" + std::to_string(i) + "@b.test";
  ASSERT_TRUE(WriteSpoolHead(file, many, "s@c.test", 3) && file.Write("text") && file.Publish());
  const fs::path path = world_.Spool() / Names().front();
  EXPECT_EQ(ReadFile(path),
            "Forward-Path: " + many + "\r\r\nReturn-Path: s@c.test\r\r\nRetry-Times: 3\r\r\ntext");

  const struct {
    std::string Bytes;
    int HeadLines;  // how many can be read
    std::string Sender;
    std::int32_t Retries;
  } cases[] = {
      {ReadFile(path), 3, "s@c.test", 3},
      {"forward-path:x\nRETURN-PATH: \t y \nRetry-Times:2x\n", 3, "y", 2},
      {"Forward-Path:x\nReturn-Path: y\nRetry-Times: 99999999999\n", 3, "y", 999'999'999},
      {"Forward-Path: x\nReturn-Path: y\nRetry-Times: 1", 2, "y", 0},
  };
  for (const auto& [bytes, head_lines, sender, retries] : cases) {
    WriteFile(path, bytes);
    platform::TextReader reader;
    ASSERT_EQ(reader.Open(path.string()), 0);
    SpoolHead head;
    int lines = 0;
    for (auto* const read : {ReadForwardPath, ReadReturnPath, ReadRetryTimes})
      lines += read(reader, head) ? 1 : 0;
    EXPECT_EQ(lines, head_lines) << bytes;
    EXPECT_EQ(head.ReturnPath.View(), sender);
    EXPECT_EQ(head.RetryTimes, retries);
    EXPECT_EQ(head.ForwardPath, bytes.size() > 1000 ? many : "x");
  }
}

// A dot alone between line ends of any kind (CR, LF, the start, the end) is doubled, and nothing else is
// changed.
TEST(DotGuard, DoublesLoneDotsHoweverTheTextIsCut) {
  constexpr std::string_view SIGNS = ".\r\na";
  constexpr unsigned LENGTH = 6;
  const auto is_end = [](const std::string& text, std::size_t at) {
    return at >= text.size() || text[at] == '\r' || text[at] == '\n';
  };
  for (unsigned mix = 0; mix < 1u << (2 * LENGTH); ++mix) {
    std::string text;
    for (unsigned i = 0; i < LENGTH; ++i) text += SIGNS[mix >> (2 * i) & 3];
    std::string expected;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const bool lone = text[i] == '.' && is_end(text, i - 1) && is_end(text, i + 1);
      expected += lone ? ".." : text.substr(i, 1);
    }
    for (unsigned cut = 0; cut <= LENGTH; ++cut) {
      DotGuard guard;
      std::string out;
      for (const std::string& piece : {text.substr(0, cut), std::string(), text.substr(cut)})
        out += guard.Pass(piece);
      out += guard.Finish();
      ASSERT_EQ(out, expected) << mix << " " << cut;
    }
  }
}

}  // namespace
}  // namespace velnor::test
