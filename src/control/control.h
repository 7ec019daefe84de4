// Control: what every command works with. The terminal, the options, the configuration of the server's
// working directory, and the instance that may be running with it.
//
// A command reads the configuration as the server does, but makes nothing that it was not asked for, and is
// not stopped by a running instance. What it changes in files that a running console holds in memory is
// refused, since the console's next save would write over it. One command, one object, one thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "control/listing.h"
#include "control/terminal.h"
#include "control/terminal_prompter.h"
#include "platform/instance_probe.h"

namespace velnor {

// The exit status of the program. A command line that can't be understood gives USAGE.
inline constexpr int DONE = 0;
inline constexpr int REFUSED = 1;
inline constexpr int USAGE = 2;

// The program that is the server without a window.
inline constexpr const char* HOST_PROGRAM = "VelnorService";

// What lies around the program; a test puts its own in the place of the real.
struct Surroundings {
  Terminal& Screen;
  std::string AppDirectory;  // where the server's programs and rules.ini lie
  std::function<std::optional<platform::InstanceProcess>()> FindInstance;
  std::function<bool(std::int64_t id)> RequestReload;
};

struct Options {
  std::string Directory;  // the server's working directory; empty: the current one
  bool Json = false;
  bool Yes = false;
  bool Force = false;
};

// When a change counts: an account's with its next use, most others when the server reads its files anew, the
// ports with its next start, and whether a console starts the services with the next one of a console.
enum class Effect { ACCOUNT, RELOAD, PORTS, CONSOLE_START };

// What a save has written.
enum class Part { SETTINGS, DOMAINS, RULES, MAIL_LISTS };

class Control {
 public:
  Control(const Surroundings& surroundings, const Options& options);

  // Enters the server's working directory, takes its owner's rights to files in the place of an
  // administrator's, and loads its configuration. False, with the words shown, if there is none; with
  // `may_be_new` a directory named by the option may be without velnor.ini.
  bool OpenConfiguration(bool may_be_new);

  // Shows why a command does nothing, and gives REFUSED.
  int Refuse(const std::string& why);
  // Shows a remark.
  void Note(const std::string& text);

  // What the command answers, in the form that the options ask for.
  void Show(const Listing& listing);
  void Show(const Record& record);

  // The instance that runs on this machine with this configuration, or none. One that this account may not
  // look at counts as such.
  std::optional<platform::InstanceProcess> OwnInstance() const;

  // Whether what a file of the configuration holds could be loaded, which a file that is not there could. If
  // not, the words have been shown: such a file counts as empty, and a save would lose what is in it.
  bool CanRead(const std::string& path);

  // Whether a file of the configuration may be replaced now: this account can, and no console would write
  // over it. If not, the words have been shown.
  bool MayReplace(const std::string& path);

  // Whether a part of the configuration is on the disk what it is in memory, after a save, of which no result
  // tells. If not, the words have been shown.
  bool CheckSaved(Part part);

  // Says when a change counts, if an instance runs with this configuration.
  void SayWhenItCounts(Effect effect);

  Surroundings Around;
  Options Chosen;
  TerminalPrompter Prompts;

 private:
  // Whether a running instance would write over this configuration.
  bool ConsoleHoldsIt();

  std::string directory_;
};

// What the program of an instance is. A process that this account may not look at is the host if, of those
// that it may be, one is called as the host is and none as the console.
enum class InstanceKind { HOST, CONSOLE, UNKNOWN, FOREIGN };
InstanceKind KindOf(const platform::InstanceProcess& instance);

// Whether the instance is the console, or may be.
bool MayBeConsole(const platform::InstanceProcess& instance);

// The process of an instance, 0 if there is no telling.
std::int64_t ProcessOf(const platform::InstanceProcess& instance);

// Paths that a command may make. Those that were not there when the object was made, and are there when it is
// told so, go to the server's account.
class NewFiles {
 public:
  explicit NewFiles(std::vector<std::string> paths);

  void HandOver() const;

  // The same for a file that holds no secret: whoever may read its directory may read it too.
  void HandOverReadable() const;

 private:
  std::vector<std::string> missing_;
};

}  // namespace velnor
