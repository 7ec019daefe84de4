// The log list's rules, and the colours of its lines.

#include "console/logic/log_list.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/log_service.h"

namespace velnor {
namespace {

TEST(LogList, ATickEmptiesAFullListAndNoOther) {
  LogList list;
  while (list.Count() < LogList::LIMIT - 1) list.AddLogLine(LOG_SYS, "x");
  list.Tick();
  EXPECT_EQ(list.Count(), LogList::LIMIT - 1);
  for (const std::size_t beyond : {0U, 100U}) {
    while (list.Count() < LogList::LIMIT + beyond) list.AddLogLine(LOG_SYS, "x");
    const std::uint64_t generation = list.Generation();
    list.Tick();
    EXPECT_EQ(list.Count(), 0U);
    EXPECT_NE(list.Generation(), generation);
  }
}

// A colour's hue in degrees.
double HueOf(Colour colour) {
  const double red = RedOf(colour), green = GreenOf(colour), blue = BlueOf(colour);
  return std::atan2(std::sqrt(3.0) * (green - blue), 2 * red - green - blue) * 180 / std::acos(-1.0);
}

TEST(LogColour, EveryColourCanBeReadOnEveryBackgroundAndKeepsItsHue) {
  const std::vector<Colour> backgrounds = {
      0xFFFFFF, MakeColour(35, 38, 41), 0x000000, MakeColour(48, 140, 198), MakeColour(61, 174, 233),
      0x777777,
  };
  for (const int category : {LOG_POP3, LOG_SMTP, LOG_AGENT}) {
    const Colour colour = CategoryColour(category);
    EXPECT_EQ(LegibleColour(colour, 0xFFFFFF), colour) << "already legible";
    for (const Colour background : backgrounds) {
      const Colour shown = LegibleColour(colour, background);
      EXPECT_GE(ContrastOf(shown, background), 4.5) << category << " on " << background;
      EXPECT_NEAR(HueOf(shown), HueOf(colour), 6) << category << " on " << background;
    }
  }
  EXPECT_NEAR(ContrastOf(0x000000, 0xFFFFFF), 21, 0.01);
}

}  // namespace
}  // namespace velnor
