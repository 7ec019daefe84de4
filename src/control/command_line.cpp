#include "control/command_line.h"

#include <array>
#include <CLI/CLI.hpp>
#include <sstream>

#include "control/commands.h"

namespace velnor {
namespace {

// What a command takes of the configuration before it runs. FIRST may begin one.
enum class Needs { NOTHING, CONFIGURATION, FIRST };

struct CommandRow {
  const char* Group;  // empty for a command that stands alone
  const char* Name;
  const char* Help;
  int (*Run)(Control& control, const Arguments& arguments);
  const char* First = "";  // names of the arguments; "[NAME]" need not be there
  const char* Second = "";
  const char* Rest = "";  // one or more settings, or "[NAME]"
  Needs Needed = Needs::CONFIGURATION;
};

struct GroupRow {
  const char* Name;
  const char* Help;
};

constexpr std::array GROUPS = {
    GroupRow{"domain", "The local domains"},
    GroupRow{"user", "The accounts"},
    GroupRow{"maillist", "The mail lists"},
    GroupRow{"rule", "The forbidden peers"},
    GroupRow{"config", "The settings, and the check of all files"},
    GroupRow{"queue", "The messages that wait for delivery"},
};

constexpr std::array COMMANDS = {
    CommandRow{"domain", "list", "Lists the local domains.", DomainList},
    CommandRow{"domain", "add", "Adds a domain and makes its directory.", DomainAdd, "DOMAIN"},
    CommandRow{"domain", "rename", "Renames a domain and its directory.", DomainRename, "DOMAIN", "NEW"},
    CommandRow{"domain", "delete", "Deletes a domain with all its users and their mail.", DomainDelete,
               "DOMAIN"},
    CommandRow{"user", "list", "Lists the accounts of one domain or of all.", UserList, "[DOMAIN]"},
    CommandRow{"user", "add",
               "Adds an account. Its password is asked for, or is the first line of standard input. Settings "
               "are those of \"user show\", as Pop3Enable=1 SmtpEnable=1.",
               UserAdd, "ADDRESS", "", "[KEY=VALUE]"},
    CommandRow{"user", "show", "Shows the settings of an account.", UserShow, "ADDRESS"},
    CommandRow{"user", "set", "Changes settings of an account.", UserSet, "ADDRESS", "", "KEY=VALUE"},
    CommandRow{"user", "password",
               "Changes the password of an account. It is asked for, or is the first line of standard input.",
               UserPassword, "ADDRESS"},
    CommandRow{"user", "delete", "Deletes an account with all its mail.", UserDelete, "ADDRESS"},
    CommandRow{"maillist", "list", "Lists the mail lists.", MailListList},
    CommandRow{"maillist", "add", "Adds a mail list without members.", MailListAdd, "LIST"},
    CommandRow{"maillist", "delete", "Deletes a mail list.", MailListDelete, "LIST"},
    CommandRow{"maillist", "members", "Lists the members of a mail list: RW may post, R receives only.",
               MailListMembers, "LIST"},
    CommandRow{"maillist", "add-member", "Adds a member, who may post unless --read-only is given.",
               MailListAddMember, "LIST", "ADDRESS"},
    CommandRow{"maillist", "remove-member", "Removes a member.", MailListRemoveMember, "LIST", "ADDRESS"},
    CommandRow{"rule", "list", "Lists the patterns of forbidden peers.", RuleList},
    CommandRow{"rule", "add", "Adds a pattern: the beginning or the end of an address, as 192.168.*", RuleAdd,
               "PATTERN"},
    CommandRow{"rule", "delete", "Deletes a pattern.", RuleDelete, "PATTERN"},
    CommandRow{"rule", "test", "Tells whether a peer is forbidden, and by which rule. Status 1 if it is.",
               RuleTest, "ADDRESS"},
    CommandRow{"config", "show", "Shows all settings.", ConfigShow},
    CommandRow{"config", "get", "Shows the value of one setting.", ConfigGet, "KEY"},
    CommandRow{
        "config", "set",
        "Changes settings, all or none of them. In a directory named by --directory it may begin a new "
        "configuration.",
        ConfigSet, "", "", "KEY=VALUE", Needs::FIRST},
    CommandRow{"config", "check",
               "Reads all files as the server does and names each fault. Status 1 if there "
               "is one.",
               ConfigCheck},
    CommandRow{"queue", "list", "Lists the files of the spool, the oldest first, with their age in seconds.",
               QueueList},
    CommandRow{"queue", "show", "Shows one file of the spool and its message's header.", QueueShow, "NAME"},
    CommandRow{"", "mailbox", "Shows messages, bytes and quota of an account.", Mailbox, "ADDRESS"},
    CommandRow{"", "status",
               "Tells whether an instance runs, since when, and on which ports. Status 1 if not.",
               ServerStatus, "", "", "", Needs::NOTHING},
    CommandRow{"", "ready",
               "Checks that both services greet and that the spool can be written. Status 1 if not.",
               ServerReady},
    CommandRow{"", "metrics", "Shows the figures of queue and mailboxes as OpenMetrics text.", ServerMetrics},
    CommandRow{"", "reload", "Makes the running server read its files again.", ServerReload, "", "", "",
               Needs::NOTHING},
};

constexpr const char* FOOTER =
    "--directory DIR, --json, --yes and --force may stand anywhere; \"velnorctl --help\" tells of them.\n"
    "Exit status: 0 done, 1 refused, 2 the command line is wrong.";

// An argument of a command under its name in the help; "[NAME]" marks one that need not be there.
template <typename Place>
void AddArgument(CLI::App& command, std::string name, Place& place) {
  if (name.empty()) return;
  const bool required = name.front() != '[';
  if (!required) name = name.substr(1, name.size() - 2);
  command.add_option(name, place)->required(required)->type_name("");
}

// The command line of one run: what was parsed, and the command that it means.
class CommandLine {
 public:
  CommandLine() {
    root_.fallthrough();
    root_.require_subcommand(1);
    root_.footer(FOOTER);
    root_.set_help_all_flag("--help-all", "Print the help of all commands and exit");
    root_.add_option("--directory", options_.Directory, "The server's working directory")->type_name("DIR");
    root_.add_flag("--json", options_.Json, "Answer in JSON");
    root_.add_flag("--yes", options_.Yes, "Do not ask before something is deleted, removed or renamed");
    root_.add_flag(
        "--force", options_.Force,
        "Change a file although a running console may write over it, or what a load passes over is lost");
    for (const GroupRow& group : GROUPS) {
      root_.add_subcommand(group.Name, group.Help)->require_subcommand(1);
    }
    for (const CommandRow& row : COMMANDS) AddCommand(row);
  }

  // Parses the arguments. 0 with a command chosen, else the exit status with the words in `out` and `err`.
  // The library's exceptions end here.
  int Parse(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    try {
      root_.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
      const std::vector<std::string> unknown = root_.remaining(true);
      if (error.get_name() == "RequiredError" && !unknown.empty()) {
        err << "There is no command \"" << unknown.front() << "\".\n";
        return USAGE;
      }
      return root_.exit(error, out, err) == 0 ? DONE : USAGE;
    }
    if (std::optional<KeyValues> settings = ParseKeyValues(rest_)) {
      arguments_.Settings = std::move(*settings);
      return DONE;
    }
    err << "A setting is KEY VALUE or KEY=VALUE.\n";
    return USAGE;
  }

  const CommandRow* Chosen() const { return chosen_; }
  const Options& GivenOptions() const { return options_; }
  const Arguments& GivenArguments() const { return arguments_; }

 private:
  void AddCommand(const CommandRow& row) {
    CLI::App* const parent = *row.Group == '\0' ? &root_ : root_.get_subcommand(row.Group);
    CLI::App* const command = parent->add_subcommand(row.Name, row.Help);
    AddArgument(*command, row.First, arguments_.First);
    AddArgument(*command, row.Second, arguments_.Second);
    AddArgument(*command, row.Rest, rest_);
    if (row.Run == MailListAddMember) {
      command->add_flag("--read-only", arguments_.ReadOnly, "The member receives and may not post");
    }
    command->callback([this, &row] { chosen_ = &row; });
  }

  CLI::App root_{"Administers a Velnor mail server: the files of its working directory, and its queue.",
                 "velnorctl"};
  Options options_;
  Arguments arguments_;
  std::vector<std::string> rest_;  // the settings, as words
  const CommandRow* chosen_ = nullptr;
};

}  // namespace

int RunCommandLine(const Surroundings& surroundings, const std::vector<std::string>& arguments) {
  std::ostringstream out;
  std::ostringstream err;
  CommandLine line;
  const int status = line.Parse(arguments, out, err);
  surroundings.Screen.Out(out.str());
  surroundings.Screen.Err(err.str());
  if (status != DONE || line.Chosen() == nullptr) return status;

  const CommandRow& row = *line.Chosen();
  Control control(surroundings, line.GivenOptions());
  if (row.Needed != Needs::NOTHING && !control.OpenConfiguration(row.Needed == Needs::FIRST)) return REFUSED;
  return row.Run(control, line.GivenArguments());
}

}  // namespace velnor
