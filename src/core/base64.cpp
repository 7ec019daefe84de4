#include "core/base64.h"

#include <array>
#include <cstdint>

namespace velnor {
namespace {

constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t LINE_LENGTH = 76;

constexpr std::array<std::uint8_t, 256> MakeValues() {
  std::array<std::uint8_t, 256> values{};
  for (std::size_t i = 0; i < ALPHABET.size(); ++i) {
    values[static_cast<unsigned char>(ALPHABET[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}
constexpr std::array<std::uint8_t, 256> VALUES = MakeValues();

}  // namespace

std::string Base64Encode(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() * 4 / 3 + bytes.size() / 27 + 8);
  std::size_t line = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t k) -> std::uint32_t {
      return i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0;
    };
    const std::uint32_t group = byte(0) << 16 | byte(1) << 8 | byte(2);
    text.push_back(ALPHABET[group >> 18]);
    text.push_back(ALPHABET[group >> 12 & 63]);
    text.push_back(i + 1 < bytes.size() ? ALPHABET[group >> 6 & 63] : '=');
    text.push_back(i + 2 < bytes.size() ? ALPHABET[group & 63] : '=');
    line += 4;
    if (line == LINE_LENGTH) {
      text.append("\r\n");
      line = 0;
    }
  }
  return text;
}

std::string Base64Decode(std::string_view text) {
  std::string bytes;
  bytes.reserve(Base64DecodedSize(text.size()));
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == '\r' || text[i] == '\n') {
      ++i;
      continue;
    }
    const auto character = [&](std::size_t k) { return i + k < text.size() ? text[i + k] : '\0'; };
    const auto value = [&](std::size_t k) -> std::uint32_t {
      return VALUES[static_cast<unsigned char>(character(k))];
    };
    const std::uint32_t group = value(0) << 18 | value(1) << 12 | value(2) << 6 | value(3);
    bytes.push_back(static_cast<char>(group >> 16 & 255));
    if (character(2) != '=') {
      bytes.push_back(static_cast<char>(group >> 8 & 255));
      if (character(3) != '=') bytes.push_back(static_cast<char>(group & 255));
    }
    i += 4;
  }
  return bytes;
}

}  // namespace velnor
