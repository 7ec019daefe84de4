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
  const auto fill_disk = [](MailFile& file) {
    platform::StartFiles();
    const ResourceLimit small(RLIMIT_FSIZE, 50'000);
    EXPECT_FALSE(file.Write(std::string(100'000, 'x')) || file.Write("x") || file.Publish());
  };
  const struct {
    const char* Name;
    std::function<void(MailFile&)> Happens;
    std::size_t FilesLeft;
  } cases[] = {
      {"published",
       [&](MailFile& file) {
         EXPECT_EQ(Names().front().front(), '_');
         EXPECT_TRUE(file.Publish());
         EXPECT_EQ(Names().front().front(), 's');
         file.Discard();
       },
       1},
      {"left behind", [](MailFile&) {}, 0},
      {"disk full", fill_disk, 0},
      {"taken away",
       [&](MailFile& file) {
         fs::remove(world_.Spool() / Names().front());
         EXPECT_FALSE(file.Publish());
       },
       0},
      {"final name taken",
       [&](MailFile& file) {
         WriteFile(world_.Spool() / ("s" + Names().front().substr(1)), "another");
         EXPECT_FALSE(file.Publish());
         EXPECT_EQ(ReadFile(world_.Spool() / Names().front()), "another");
       },
       1},
  };
  for (const auto& each : cases) {
    {
      MailFile file;
      ASSERT_EQ(file.Create(Spool(), MailPlace::SPOOL, 1), 0);
      EXPECT_TRUE(file.Write("begun"));
      each.Happens(file);
    }
    EXPECT_EQ(Names().size(), each.FilesLeft) << each.Name;
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

  constexpr int WHOLE = 3;
  const std::string sender(200, 's');
  const struct {
    std::string Bytes;
    int HeadLines;  // how many can be read
    std::string Sender;
    std::int32_t Retries;
  } cases[] = {
      {ReadFile(path), WHOLE, "s@c.test", 3},
      {"forward-path:x\nRETURN-PATH: \t y \nRetry-Times:2x\n", WHOLE, "y", 2},
      {"Forward-Path:x\nReturn-Path:" + sender + "\nRetry-Times: 99999999999\n", WHOLE, sender.substr(0, 127),
       999'999'999},
      {"Forward-Path: x\nReturn-Path: y\nRetry-Times: 1", 2, "y", 0},
      {"Return-Path: y\nForward-Path: x\n", 0, "", 0},
  };
  for (const auto& each : cases) {
    WriteFile(path, each.Bytes);
    platform::TextReader reader;
    ASSERT_EQ(reader.Open(path.string()), 0);
    SpoolHead head;
    int lines = 0;
    if (ReadForwardPath(reader, head) && ++lines && ReadReturnPath(reader, head) && ++lines) {
      lines += ReadRetryTimes(reader, head) ? 1 : 0;
    }
    EXPECT_EQ(lines, each.HeadLines) << each.Bytes;
    EXPECT_EQ(head.ReturnPath.View(), each.Sender);
    EXPECT_EQ(head.RetryTimes, each.Retries);
    EXPECT_TRUE(each.Bytes.size() < 5000 || head.ForwardPath == many);
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
