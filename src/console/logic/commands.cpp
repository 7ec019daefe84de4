#include "console/logic/commands.h"

#include <array>

namespace velnor {
namespace {

constexpr CommandEntry SEPARATOR;

constexpr std::array FILE_MENU = {
    CommandEntry{ID_FILE_START, Action::START, "&Start", "F5"},
    CommandEntry{ID_FILE_STOP, Action::STOP, "S&top", "Shift+F5"},
    SEPARATOR,
    CommandEntry{ID_FILE_INSTALL_SERVICE, Action::INSTALL_SERVICE, "&Install Service", ""},
    CommandEntry{ID_FILE_UNINSTALL_SERVICE, Action::UNINSTALL_SERVICE, "&Uninstall Service", ""},
    CommandEntry{ID_FILE_STOP_SERVICE, Action::STOP_SERVICE, "Sto&p Service", ""},
    SEPARATOR,
    CommandEntry{ID_FILE_EXIT, Action::EXIT, "E&xit", "Ctrl+Q"},
};

constexpr std::array TOOL_MENU = {
    CommandEntry{ID_TOOL_USERS, Action::USERS, "&User Management", "Ctrl+U"},
    SEPARATOR,
    CommandEntry{ID_TOOL_CONFIGURATION, Action::CONFIGURATION, "&Configuration", "Ctrl+,"},
    SEPARATOR,
    CommandEntry{ID_TOOL_MAIL_LISTS, Action::MAIL_LISTS, "&Mail List", "Ctrl+M"},
    SEPARATOR,
    CommandEntry{ID_TOOL_LOG_VIEW, Action::LOG_VIEW, "&Log View", "Ctrl+L"},
};

constexpr std::array HELP_MENU = {
    CommandEntry{ID_HELP_ABOUT, Action::ABOUT, "&About", ""},
    SEPARATOR,
    CommandEntry{ID_HELP_HELP, Action::HELP, "&Help", "F1"},
    CommandEntry{ID_HELP_WEBSITE, Action::WEBSITE, "&Visit My Website", ""},
};

constexpr std::array MENU_BAR = {
    Menu{"&File", FILE_MENU},
    Menu{"&Tool", TOOL_MENU},
    Menu{"&Help", HELP_MENU},
};

constexpr std::array TOOLBAR = {
    CommandEntry{ID_TOOLBAR_START, Action::START, "Start", ""},
    CommandEntry{ID_TOOLBAR_STOP, Action::STOP, "Stop", ""},
    SEPARATOR,
    CommandEntry{ID_TOOLBAR_USERS, Action::USERS, "User list", ""},
    CommandEntry{ID_TOOLBAR_CONFIGURATION, Action::CONFIGURATION, "Configuration", ""},
    CommandEntry{ID_TOOLBAR_MAIL_LISTS, Action::MAIL_LISTS, "Maillist", ""},
    CommandEntry{ID_TOOLBAR_LOG_VIEW, Action::LOG_VIEW, "", ""},
    SEPARATOR,
    CommandEntry{ID_TOOLBAR_ABOUT, Action::ABOUT, "Help", ""},
};

constexpr std::array TRAY_MENU = {
    CommandEntry{ID_TRAY_START, Action::START, "&Start", ""},
    CommandEntry{ID_TRAY_STOP, Action::STOP, "S&top", ""},
    SEPARATOR,
    CommandEntry{ID_TRAY_CONFIGURATION, Action::CONFIGURATION, "&Configuration", ""},
    SEPARATOR,
    CommandEntry{ID_TRAY_USERS, Action::USERS, "&User Management", ""},
    SEPARATOR,
    CommandEntry{ID_TRAY_MAIL_LISTS, Action::MAIL_LISTS, "&Mail List", ""},
    SEPARATOR,
    CommandEntry{ID_TRAY_LOG_VIEW, Action::LOG_VIEW, "&Log View", ""},
    SEPARATOR,
    CommandEntry{ID_TRAY_EXIT, Action::EXIT, "E&xit", ""},
};

constexpr std::array LOG_MENU = {
    CommandEntry{ID_LOG_PAUSE, Action::PAUSE_LOG, "&Pause log display", "Ctrl+P"},
    CommandEntry{ID_LOG_CLEAR, Action::CLEAR_LOG, "C&lear the log display", "Ctrl+Del"},
};

}  // namespace

std::span<const Menu> MenuBar() {
  return MENU_BAR;
}

std::span<const CommandEntry> ToolBar() {
  return TOOLBAR;
}

std::span<const CommandEntry> TrayMenu() {
  return TRAY_MENU;
}

std::span<const CommandEntry> LogMenu() {
  return LOG_MENU;
}

}  // namespace velnor
