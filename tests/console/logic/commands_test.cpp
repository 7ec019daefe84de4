// The menus and the toolbar as their users know them: captions, numbers, order, and a key for each.

#include "console/logic/commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace velnor {
namespace {

// "caption number, -, caption number, ..." with the mnemonics' ampersands taken out.
std::string Outline(std::span<const CommandEntry> entries) {
  std::string outline;
  for (const CommandEntry& entry : entries) {
    std::string caption = entry.Caption;
    std::erase(caption, '&');
    if (!outline.empty()) outline += ", ";
    outline += entry.What == Action::SEPARATOR ? "-" : caption + " " + std::to_string(entry.Id);
  }
  return outline;
}

TEST(Commands, StandWhereTheyBelong) {
  ASSERT_EQ(MenuBar().size(), 3U);
  EXPECT_EQ(
      Outline(MenuBar()[0].Entries),
      "Start 32773, Stop 32774, -, Install Service 32791, Uninstall Service 32792, Stop Service 32793, -, "
      "Exit 32780");
  EXPECT_EQ(Outline(MenuBar()[1].Entries),
            "User Management 32775, -, Configuration 32778, -, Mail List 32796, -, Log View 32798");
  EXPECT_EQ(Outline(MenuBar()[2].Entries), "About 32800, -, Help 32802, Visit My Website 32803");
  EXPECT_EQ(
      Outline(TrayMenu()),
      "Start 32782, Stop 32783, -, Configuration 32786, -, User Management 32784, -, Mail List 32785, -, "
      "Log View 32787, -, Exit 32788");
  EXPECT_EQ(Outline(LogMenu()), "Pause log display 32804, Clear the log display 32805");
  EXPECT_EQ(
      Outline(ToolBar()),
      "Start 32771, Stop 32772, -, User list 32776, Configuration 32777, Maillist 32797,  32799, -, Help "
      "32789");
}

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
