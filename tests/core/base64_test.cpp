#include "core/base64.h"

#include <gtest/gtest.h>

namespace velnor {
namespace {

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
}  // namespace velnor
