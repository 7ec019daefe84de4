// The console's commands: where each stands, its number, its caption and what it does.
//
// Menus, toolbar and tray are built from these tables, so an order or a caption stands here once. Constant;
// any thread.
#pragma once

#include <span>

namespace velnor {

// What a command does. Several entries may do the same.
enum class Action {
  SEPARATOR,
  START,
  STOP,
  INSTALL_SERVICE,
  UNINSTALL_SERVICE,
  STOP_SERVICE,
  EXIT,
  USERS,
  CONFIGURATION,
  MAIL_LISTS,
  LOG_VIEW,
  ABOUT,
  HELP,
  WEBSITE,
  PAUSE_LOG,
  CLEAR_LOG,
};

// The numbers that the entries are known by.
enum CommandId : int {
  ID_NONE = 0,
  ID_TOOLBAR_START = 32771,
  ID_TOOLBAR_STOP = 32772,
  ID_FILE_START = 32773,
  ID_FILE_STOP = 32774,
  ID_TOOL_USERS = 32775,
  ID_TOOLBAR_USERS = 32776,
  ID_TOOLBAR_CONFIGURATION = 32777,
  ID_TOOL_CONFIGURATION = 32778,
  ID_FILE_EXIT = 32780,
  ID_TRAY_START = 32782,
  ID_TRAY_STOP = 32783,
  ID_TRAY_USERS = 32784,
  ID_TRAY_MAIL_LISTS = 32785,
  ID_TRAY_CONFIGURATION = 32786,
  ID_TRAY_LOG_VIEW = 32787,
  ID_TRAY_EXIT = 32788,
  ID_TOOLBAR_ABOUT = 32789,
  ID_FILE_INSTALL_SERVICE = 32791,
  ID_FILE_UNINSTALL_SERVICE = 32792,
  ID_FILE_STOP_SERVICE = 32793,
  ID_TOOL_MAIL_LISTS = 32796,
  ID_TOOLBAR_MAIL_LISTS = 32797,
  ID_TOOL_LOG_VIEW = 32798,
  ID_TOOLBAR_LOG_VIEW = 32799,
  ID_HELP_ABOUT = 32800,
  ID_HELP_HELP = 32802,
  ID_HELP_WEBSITE = 32803,
  ID_LOG_PAUSE = 32804,
  ID_LOG_CLEAR = 32805,
};

struct CommandEntry {
  CommandId Id = ID_NONE;
  Action What = Action::SEPARATOR;
  const char* Caption = "";   // an ampersand before the letter that chooses it; on the toolbar the tip
  const char* Shortcut = "";  // in portable notation, or empty
};

struct Menu {
  const char* Title;
  std::span<const CommandEntry> Entries;
};

// File, Tool and Help, in this order.
std::span<const Menu> MenuBar();

std::span<const CommandEntry> ToolBar();
std::span<const CommandEntry> TrayMenu();
std::span<const CommandEntry> LogMenu();

}  // namespace velnor
