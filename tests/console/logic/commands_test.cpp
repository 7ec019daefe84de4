// The menus: a key for each entry.

#include "console/logic/commands.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace velnor {
namespace {

TEST(Commands, EachMenuGivesEachEntryALetterOfItsOwnAndNoShortcutTwice) {
  std::set<std::string> shortcuts;
  const auto check = [&shortcuts](std::span<const CommandEntry> menu) {
    std::set<char> letters;
    for (const CommandEntry& entry : menu) {
      if (entry.What == Action::SEPARATOR) continue;
      const std::string caption = entry.Caption;
      const std::size_t mark = caption.find('&');
      ASSERT_LT(mark, caption.size() - 1) << caption;
      EXPECT_TRUE(letters.insert(static_cast<char>(caption[mark + 1] | 0x20)).second) << caption;
      if (*entry.Shortcut == '\0') continue;
      EXPECT_TRUE(shortcuts.insert(entry.Shortcut).second) << caption;
    }
  };
  for (const Menu& menu : MenuBar()) check(menu.Entries);
  check(TrayMenu());
  check(LogMenu());
}

}  // namespace
}  // namespace velnor
