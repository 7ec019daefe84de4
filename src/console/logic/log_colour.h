// The colours of log lines: one for each category, made legible on whatever background the desktop has.
//
// A colour is the number 0x00BBGGRR. No state; any thread.
#pragma once

#include <cstdint>

namespace velnor {

using Colour = std::uint32_t;

inline constexpr Colour PLATFORM_TEXT = 0;  // whatever the desktop writes in; true black is never stored

constexpr Colour MakeColour(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  return red | green << 8 | blue << 16;
}
constexpr std::uint32_t RedOf(Colour colour) {
  return colour & 0xFF;
}
constexpr std::uint32_t GreenOf(Colour colour) {
  return colour >> 8 & 0xFF;
}
constexpr std::uint32_t BlueOf(Colour colour) {
  return colour >> 16 & 0xFF;
}

// POP3 green, SMTP blue, the delivery agent purple, every other category PLATFORM_TEXT.
Colour CategoryColour(int category);

// How well two colours can be told apart, from 1 (not at all) to 21 (black on white). Small text wants 4.5.
double ContrastOf(Colour a, Colour b);

// `colour` itself where small text in it can be read on the background, else the nearest lighter or darker
// tone of the same hue that can.
Colour LegibleColour(Colour colour, Colour background);

}  // namespace velnor
