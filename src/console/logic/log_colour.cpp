#include "console/logic/log_colour.h"

#include <algorithm>
#include <cmath>

#include "core/log_service.h"

namespace velnor {
namespace {

constexpr double READABLE = 4.5;
constexpr int STEPS = 64;

// The share of light that a colour sends out, 0 to 1, as the eye weighs it.
double Luminance(Colour colour) {
  const auto linear = [](std::uint32_t part) {
    const double share = part / 255.0;
    return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(RedOf(colour)) + 0.7152 * linear(GreenOf(colour)) + 0.0722 * linear(BlueOf(colour));
}

// `colour` on its way to white or black, which keeps its hue. `share` 0 is the colour, 1 the end.
Colour Towards(Colour colour, double end, double share) {
  const auto part = [end, share](std::uint32_t from) {
    return static_cast<std::uint32_t>(std::lround(from + (end - from) * share));
  };
  return MakeColour(part(RedOf(colour)), part(GreenOf(colour)), part(BlueOf(colour)));
}

}  // namespace

Colour CategoryColour(int category) {
  switch (category) {
    case LOG_POP3:
      return 0x008000;
    case LOG_SMTP:
      return 0xFF0000;
    case LOG_AGENT:
      return 0x800080;
    default:
      return PLATFORM_TEXT;
  }
}

double ContrastOf(Colour a, Colour b) {
  const auto [darker, lighter] = std::minmax({Luminance(a), Luminance(b)});
  return (lighter + 0.05) / (darker + 0.05);
}

Colour LegibleColour(Colour colour, Colour background) {
  const bool on_dark = ContrastOf(background, 0xFFFFFF) > ContrastOf(background, 0x000000);
  for (int step = 0; step < STEPS; ++step) {
    const Colour tone = Towards(colour, on_dark ? 255.0 : 0.0, static_cast<double>(step) / STEPS);
    if (ContrastOf(tone, background) >= READABLE) return tone;
  }
  return on_dark ? 0xFFFFFF : 0x000000;
}

}  // namespace velnor
