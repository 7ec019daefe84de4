// Small text operations: trimming, splitting, numbers and Base64.

#include "core/text.h"

#include <gtest/gtest.h>

#include "core/base64.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

TEST(Text, SplitsAtTheFirstAtSignWithinTheLimits) {
  const std::string long_user(150, 'u');
  const std::string long_domain(60, 'd');
  const struct {
    std::string Address, User, Domain;
  } cases[] = {
      {"a@b@c", "a", "b@c"},
      {long_user + "@" + long_domain, long_user.substr(0, 99), long_domain.substr(0, 19)},
  };
  for (const auto& each : cases) {
    SessionUser user("before");
    SessionDomain domain("before");
    EXPECT_EQ(SplitAddress(each.Address, user, domain), 1);
    EXPECT_EQ(user.View(), each.User);
    EXPECT_EQ(domain.View(), each.Domain);
  }
}

TEST(Text, ReadsLeadingNumbersWithoutWrapping) {
  const std::pair<const char*, std::int32_t> cases[] = {
      {"abc", 0},
      {" \t42x", 42},
      {"- 7", 0},
      {"2147483648", INT32_MAX},
      {"4294967297", INT32_MAX},
      {"-99999999999999999999999", INT32_MIN},
  };
  for (const auto& [text, number] : cases) EXPECT_EQ(LeadingNumber(text), number) << text;
}

TEST(Text, ControlCharactersDoNotReachTheLog) {
  EXPECT_EQ(LogSafe(std::string("a\tb\r\n\x1b[31m\0\x7f\xc3\xa4", 14)), "a\tb???[31m??\xc3\xa4");
}

TEST(Base64, EncodesWithALineEndAfterEachFullLine) {
  const std::string line(76, 'A');
  const std::pair<std::string, std::string> cases[] = {
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {std::string("\xff\xef\xbe\x00", 4), "/+++AA=="},
      {std::string(57, '\0'), line + "\r\n"},
      {std::string(58, '\0'), line + "\r\nAA=="},
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(Base64Encode(bytes), text);
    EXPECT_EQ(Base64Decode(text), bytes);
    EXPECT_GE(Base64DecodedSize(text.size()), bytes.size());
  }
}

TEST(Base64, DecodesAnythingWithoutValidation) {
  const std::pair<std::string, std::string> cases[] = {
      {"Zm9v\r\nYmFy\n", "foobar"},          {"Zg==Zg==", "ff"},
      {"Zm8=!", std::string("fo\0\0\0", 5)}, {"\x80\xff\xfe\x81", std::string(3, '\0')},
      {"Zm9", std::string("fo\x40", 3)},     {"=", std::string(3, '\0')},
      {"====", std::string(1, '\0')},        {"\r\n", ""},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(Base64Decode(text), bytes) << text;
}

}  // namespace
}  // namespace velnor::test
