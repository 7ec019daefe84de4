// Base64 with the alphabet of RFC 4648. No state; any thread.
#pragma once

#include <string>
#include <string_view>

namespace velnor {

// The encoded bytes, with CR LF after each full line of 76 characters, the last one too if it is full.
std::string Base64Encode(std::string_view bytes);

// The decoded bytes. CR and LF between groups are passed over. Nothing is validated: a character outside the
// alphabet counts as 0, and a last group that is cut short is read as if it went on so.
std::string Base64Decode(std::string_view text);

// The most bytes that a text of this length decodes to.
constexpr std::size_t Base64DecodedSize(std::size_t length) {
  return (length + 3) / 4 * 3;
}

}  // namespace velnor
