// Profile files: what a read finds in files of any kind, and which bytes a write leaves alone.

#include "platform/profile_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "support/test_world.h"

namespace velnor::test {
namespace {

using platform::ReadProfileInt;
using platform::ReadProfileString;
using platform::WriteProfile;
namespace fs = std::filesystem;

class ProfileFile : public ::testing::Test {
 protected:
  std::string Read(std::string_view section, std::string_view key, std::size_t limit = 100) {
    return ReadProfileString(path_, section, key, "(default)", limit);
  }

  TestWorld world_;
  const std::string path_ = (world_.Root() / "profile.ini").string();
};

TEST_F(ProfileFile, ReadsWhatIsThere) {
  WriteFile(
      path_,
      "stray=before any section\n"
      "; Key=comment\n"
      "[ Other ]\nKey=other\n"
      "[sYsTeM]\r\n"
      "  KEY \t=\t  a value  \r\n"
      "key=second\n"
      "empty=\n"
      "Quoted=\"  in quotes  \"\n"
      "Single=' x '\nLone=\"\nPart=\"a\" b\nInner=it's \"so\"\n"
      "Equals=a=b=c\n"
      "no equals sign\n"
      "=nameless\n"
      "Number=12ab\nNegative=-3\nText=abc\nHuge=99999999999999999999\nQuotedNumber=\"7\"\nBlanks=   8   \n"
      "[unclosed\nKey=unclosed\n"
      "[System]\nlate=in a second section\nlast=no line end");
  const struct {
    const char* Section;
    const char* Key;
    const char* Value;
  } cases[] = {
      {"System", "Key", "a value"},      {"SYSTEM", "kEY", "a value"},
      {"Other", "Key", "other"},         {"unclosed", "key", "unclosed"},
      {"System", "empty", ""},           {"System", "quoted", "  in quotes  "},
      {"System", "single", " x "},       {"System", "lone", "\""},
      {"System", "part", "\"a\" b"},     {"System", "inner", "it's \"so\""},
      {"System", "equals", "a=b=c"},     {"System", "late", "in a second section"},
      {"System", "last", "no line end"}, {"System", "missing", "(default)"},
      {"Missing", "Key", "(default)"},   {"System", "stray", "(default)"},
      {"System", "Ke", "(default)"},     {"System", "no equals sign", "(default)"},
  };
  for (const auto& each : cases) EXPECT_EQ(Read(each.Section, each.Key), each.Value) << each.Key;
  EXPECT_EQ(Read("System", "Key", 4), "a va");

  const std::pair<const char*, std::int32_t> numbers[] = {
      {"Number", 12},      {"Negative", 0}, {"Text", 0},      {"empty", 0},
      {"Huge", INT32_MAX}, {"Blanks", 8},   {"missing", -55}, {"QuotedNumber", 7},
  };
  for (const auto& [key, number] : numbers)
    EXPECT_EQ(ReadProfileInt(path_, "System", key, -55), number) << key;
}

TEST_F(ProfileFile, OddFilesGiveDefaultsOrWhatCanBeFound) {
  EXPECT_EQ(Read("S", "k"), "(default)") << "no file";
  const std::string directory = (world_.Root() / "directory").string();
  fs::create_directory(directory);
  const std::string pipe = (world_.Root() / "pipe").string();
  ::mkfifo(pipe.c_str(), 0600);
  for (const std::string& odd : {directory, pipe, directory + "/none/none"}) {
    EXPECT_EQ(ReadProfileString(odd, "S", "k", "d", 10), "d") << odd;
    EXPECT_FALSE(WriteProfile(odd, "S", {{"k", "v"}})) << odd;
  }
  const std::string huge(1'000'000, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {"", "(default)"},
      {std::string("\0\1[S]\xff\n\0=\0\n[S]\nk=a\0b\n", 22), "a"},
      {"[S]\n" + huge + "\nk=v\n", "v"},
      {"[S]\n" + huge + "k=v", "(default)"},
      {"[S]\n;" + std::string(64 * 1024 - 1, 'x') + "k=in a comment\n", "(default)"},
      {"[S]\nk=" + huge + "\n", huge.substr(0, 100)},
  };
  for (const auto& [bytes, value] : cases) {
    WriteFile(path_, bytes);
    EXPECT_EQ(Read("S", "k"), value) << bytes.substr(0, 40);
    // No write loses what it does not name.
    ASSERT_TRUE(WriteProfile(path_, "new", {{"k", "v"}}));
    EXPECT_TRUE(ReadFile(path_).starts_with(bytes));
    EXPECT_EQ(Read("new", "k"), "v");
  }
}

TEST_F(ProfileFile, AWriteTouchesItsKeysAlone) {
  const std::string rest(70'000, 'x');
  const struct {
    std::string Before;
    platform::ProfileKeys Keys;
    std::string After;
  } cases[] = {
      {"", {{"a", " 1 "}, {"b", "''"}}, "[S]\na=\" 1 \"\nb=\"''\"\n"},
      {"[S]\na=0", {{"a", "1"}}, "[S]\na=1"},
      {"x", {{"a", "1"}}, "x\n[S]\na=1\n"},
      {"; c\r\n[s]\r\n A = 0 \r\nz=9\r\n\r\n[T]\r\na=5\r\n",
       {{"a", "1"}, {"b", "2"}},
       "; c\r\n[s]\r\na=1\r\nz=9\r\nb=2\r\n\r\n[T]\r\na=5\r\n"},
      {"[S]\na=0\r\nb=0\nc=0\r\n", {{"c", "3"}, {"a", "1"}}, "[S]\na=1\r\nb=0\nc=3\r\n"},
      {"[S]\na=0\na=second\n[S]\na=third\n", {{"a", "1"}}, "[S]\na=1\na=second\n[S]\na=third\n"},
      {"[S]\n;a=comment\n\tfree text\n", {{"a", "1"}}, "[S]\n;a=comment\n\tfree text\na=1\n"},
      {"[S]\na=0\n\n\n", {{"b", "1"}}, "[S]\na=0\nb=1\n\n\n"},
      {"[S]\na=" + rest + "\r\nb=0\n", {{"a", "1"}}, "[S]\na=1\r\nb=0\n"},
      {std::string("[S]\n\0\xff\r\r\n", 9), {{"a", "1"}}, std::string("[S]\n\0\xff\r\r\na=1\n", 13)},
  };
  for (const auto& each : cases) {
    WriteFile(path_, each.Before);
    ASSERT_TRUE(WriteProfile(path_, "S", each.Keys));
    EXPECT_EQ(ReadFile(path_), each.After);
    for (const auto& [key, value] : each.Keys) EXPECT_EQ(Read("S", key), value);
  }
  // A line end would make a line of its own.
  ASSERT_TRUE(WriteProfile(path_, "S", {{"k", "a\r\nafter=forged\n[T]"}}));
  EXPECT_EQ(Read("S", "k"), "a  after=forged [T]");
}

TEST_F(ProfileFile, ReadersMeetTheOldFileOrTheNew) {
  const std::string filler(100'000, 'f');
  const auto keys = [](std::string value) { return platform::ProfileKeys{{"k", value}, {"l", value}}; };
  WriteFile(path_, "[S]\nk=first\n" + filler + "\nl=first\n");
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int i = 0; i < 100; ++i) WriteProfile(path_, "S", keys(i % 2 == 0 ? "second" : "first"));
    done = true;
  });
  int odd = 0;
  do {
    const std::string value = Read("S", "l");
    odd += value != "first" && value != "second" ? 1 : 0;
  } while (!done);
  writer.join();
  EXPECT_EQ(odd, 0);
  EXPECT_EQ(FileNames(world_.Root()), (std::vector<std::string>{"app", "mail", "profile.ini", "work"}));
}

}  // namespace
}  // namespace velnor::test
