// The commands, one function each: with the configuration open where the table of the command line says so.
// Each shows its answer and its refusals and gives the exit status of the program. One thread.
#pragma once

#include <string>

#include "control/control.h"
#include "control/key_values.h"

namespace velnor {

// What stands behind a command's name.
struct Arguments {
  std::string First;
  std::string Second;
  KeyValues Settings;
  bool ReadOnly = false;
};

// domain_commands.cpp
int DomainList(Control& control, const Arguments& arguments);
int DomainAdd(Control& control, const Arguments& arguments);
int DomainRename(Control& control, const Arguments& arguments);
int DomainDelete(Control& control, const Arguments& arguments);

// user_commands.cpp, mailbox_commands.cpp
int UserList(Control& control, const Arguments& arguments);
int UserAdd(Control& control, const Arguments& arguments);
int UserShow(Control& control, const Arguments& arguments);
int UserSet(Control& control, const Arguments& arguments);
int UserPassword(Control& control, const Arguments& arguments);
int UserDelete(Control& control, const Arguments& arguments);
int Mailbox(Control& control, const Arguments& arguments);

// mail_list_commands.cpp
int MailListList(Control& control, const Arguments& arguments);
int MailListAdd(Control& control, const Arguments& arguments);
int MailListDelete(Control& control, const Arguments& arguments);
int MailListMembers(Control& control, const Arguments& arguments);
int MailListAddMember(Control& control, const Arguments& arguments);
int MailListRemoveMember(Control& control, const Arguments& arguments);

// rule_commands.cpp
int RuleList(Control& control, const Arguments& arguments);
int RuleAdd(Control& control, const Arguments& arguments);
int RuleDelete(Control& control, const Arguments& arguments);
int RuleTest(Control& control, const Arguments& arguments);

// config_commands.cpp
int ConfigShow(Control& control, const Arguments& arguments);
int ConfigGet(Control& control, const Arguments& arguments);
int ConfigSet(Control& control, const Arguments& arguments);
int ConfigCheck(Control& control, const Arguments& arguments);

// queue_commands.cpp
int QueueList(Control& control, const Arguments& arguments);
int QueueShow(Control& control, const Arguments& arguments);

// server_commands.cpp, metrics.cpp
int ServerStatus(Control& control, const Arguments& arguments);
int ServerReload(Control& control, const Arguments& arguments);
int ServerReady(Control& control, const Arguments& arguments);
int ServerMetrics(Control& control, const Arguments& arguments);

}  // namespace velnor
