// Text streams: every mix of line ends comes back as it was written, wherever a block ends.

#include "platform/text_stream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/file.h"
#include "support/resource_limit.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

using platform::TextReader;
using platform::TextWriter;
namespace fs = std::filesystem;

constexpr std::size_t BLOCK = 16 * 1024;

class TextStream : public ::testing::Test {
 protected:
  std::string Path() const { return (world_.Root() / "stream").string(); }

  // Writes in two pieces, the second beginning at `cut`.
  void Store(std::string_view text, std::size_t cut) {
    TextWriter writer;
    ASSERT_EQ(writer.Open(Path(), TextWriter::Mode::REPLACE), 0);
    writer.Write(text.substr(0, cut));
    writer.Write(text.substr(cut));
    ASSERT_TRUE(writer.Close());
  }

  TestWorld world_;
};

TEST_F(TextStream, EveryMixComesBackAtEveryBlockBoundary) {
  constexpr std::string_view SIGNS("\r\na\0", 4);
  constexpr std::size_t LENGTH = 3;
  for (std::size_t before = BLOCK - 4; before <= BLOCK; ++before) {
    for (unsigned mix = 0; mix < 1u << (2 * LENGTH); ++mix) {
      std::string text(before, 'x');
      for (std::size_t i = 0; i < LENGTH; ++i) text += SIGNS[mix >> (2 * i) & 3];
      Store(text, before + mix % LENGTH);
      ASSERT_EQ(ReadFile(Path()), Replaced(text, "\n", "\r\n"));

      TextReader lines;
      TextReader blocks;
      ASSERT_EQ(lines.Open(Path()), 0);
      ASSERT_EQ(blocks.Open(Path()), 0);
      std::string by_lines, by_blocks, piece;
      while (lines.ReadLine(1023, piece)) by_lines += piece;
      while (blocks.ReadBlock(BLOCK - 1, piece)) by_blocks += piece;
      ASSERT_TRUE(by_lines == text && by_blocks == text) << before << " " << mix;
    }
  }
}

TEST_F(TextStream, LinesEndAtTheirLimitAndPlacesComeBack) {
  WriteFile(Path(), std::string_view("abcdefg\r\n\r\n\rx\0y\r\nlast", 21));
  const struct {
    std::size_t Limit;
    std::string Line;
    bool AtEnd;
  } cases[] = {
      {4, "abcd", false},
      {4, "efg\n", false},
      {100, "\n", false},
      {1, "\r", false},
      {2, std::string("x\0", 2), false},
      {2, "y\n", false},
      {4, "last", false},
      {4, "", true},
  };
  TextReader reader;
  ASSERT_EQ(reader.Open(Path()), 0);
  for (const auto& each : cases) {
    const TextReader::Position place = reader.Tell();
    for (int again = 0; again < 2; ++again) {
      reader.Seek(place);
      std::string line;
      EXPECT_EQ(reader.ReadLine(each.Limit, line), !each.Line.empty());
      EXPECT_EQ(line, each.Line);
      EXPECT_EQ(reader.AtEnd(), each.AtEnd) << each.Line;
    }
  }

  // One object may serve a second file, from its beginning.
  reader.Close();
  ASSERT_EQ(reader.Open(Path()), 0);
  std::string line;
  EXPECT_TRUE(reader.ReadLine(3, line) && line == "abc" && !reader.AtEnd());
}

TEST_F(TextStream, ModesOfOpening) {
  TextReader reader;
  EXPECT_EQ(reader.Open(Path()), ENOENT);
  EXPECT_EQ(reader.Open(world_.Root().string()), EISDIR);
  const std::string pipe = (world_.Root() / "pipe").string();
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(reader.Open(pipe), EINVAL);

  const std::pair<TextWriter::Mode, const char*> modes[] = {{TextWriter::Mode::CREATE_NEW, "+\r\n"},
                                                            {TextWriter::Mode::CREATE_NEW, "+\r\n"},
                                                            {TextWriter::Mode::APPEND, "+\r\n+\r\n"},
                                                            {TextWriter::Mode::REPLACE, "+\r\n"}};
  for (const auto& [mode, after] : modes) {
    TextWriter writer;
    const bool refused = mode == TextWriter::Mode::CREATE_NEW && fs::exists(Path());
    EXPECT_EQ(writer.Open(Path(), mode), refused ? EEXIST : 0);
    EXPECT_NE(writer.Write("+\n") && writer.Close(), refused);
    EXPECT_EQ(ReadFile(Path()), after);
  }
}

TEST_F(TextStream, AFullDiskIsAFailureThatStays) {
  platform::StartFiles();
  TextWriter writer;
  ASSERT_EQ(writer.Open(Path(), TextWriter::Mode::CREATE_NEW), 0);
  {
    const ResourceLimit small(RLIMIT_FSIZE, 100);
    EXPECT_TRUE(writer.Write("fits\n") && writer.Flush());
    EXPECT_FALSE(writer.Write(std::string(200, 'x')) && writer.Flush());
    EXPECT_FALSE(writer.Write("") || writer.Sync());
  }
  writer.ForgetFailure();
  EXPECT_TRUE(writer.Write("again") && writer.Close());
  EXPECT_TRUE(ReadFile(Path()).starts_with("fits\r\nx"));
  EXPECT_TRUE(ReadFile(Path()).ends_with("xagain"));
}

}  // namespace
}  // namespace velnor::test
