#include <algorithm>
#include <ctime>

#include "control/commands.h"
#include "control/greeting.h"
#include "core/mail_file_name.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/file_rights.h"
#include "platform/text_stream.h"
#include "platform/thread.h"

namespace velnor {
namespace {

std::string TimeText(std::int64_t moment) {
  const std::tm parts = platform::LocalTime(moment);
  char room[32];
  return std::string(room, std::strftime(room, sizeof room, "%Y-%m-%d %H:%M:%S %z", &parts));
}

Cell KnownTime(std::int64_t moment) {
  return moment == 0 ? Cell() : Cell(TimeText(moment));
}

// The ports to try: those on which the instance listens, or those that are set where it can't be looked at.
// Without an instance there are none, as somebody else may listen on those that are set.
std::vector<int> PortsToTry(const std::optional<platform::InstanceProcess>& instance) {
  if (!instance) return {};
  if (instance->Id != 0) return instance->Ports;
  return {g_SystemConfig.SmtpPort.load(), g_SystemConfig.Pop3Port.load()};
}

// What a process is called in words: its number and its program.
std::string ProcessText(const platform::InstanceProcess& instance) {
  return "process " + std::to_string(instance.Id) + " (" + LogSafe(instance.Program) + ")";
}

// The status where this account may not look at the process that holds the name.
int ShowHidden(Control& control, const platform::InstanceProcess& instance) {
  if (const std::int64_t host = ProcessOf(instance); host != 0) {
    control.Show(Record{{"running", true}, {"program", HOST_PROGRAM}, {"process", host}});
    control.Note("This account may not see more of the process.");
    return DONE;
  }
  control.Show(Record{{"running", true}});
  control.Note(
      "This account may not look at the process. If no server runs, a process that is none holds its name, "
      "and no server can start; \"velnorctl status\" as root tells which.");
  return DONE;
}

// The status where the name is held by a process that is no server.
int ShowForeign(Control& control, const platform::InstanceProcess& instance) {
  control.Show(Record{{"running", false}, {"program", instance.Program}, {"process", instance.Id}});
  return control.Refuse("The " + ProcessText(instance) +
                        " holds the server's name and is no server. None can start until it ends.");
}

// Makes a file in the spool as a writer does, and takes it away. Whatever is left of it the next start
// removes.
bool SpoolTakesFiles() {
  const std::string path =
      JoinPath(g_SystemConfig.SpoolPath(), "_" + MailFileName(platform::CurrentThreadId()));
  platform::TextWriter file;
  if (file.Open(path, platform::TextWriter::Mode::CREATE_NEW) != 0) return false;
  const bool written = file.Write("Forward-Path: \r\n") && file.Sync();
  const bool closed = file.Close();
  return platform::DeleteFile(path) == 0 && written && closed;
}

}  // namespace

int ServerStatus(Control& control, const Arguments&) {
  const auto instance = control.Around.FindInstance();
  if (!instance) {
    control.Show(Record{{"running", false}});
    return REFUSED;
  }
  if (instance->Id == 0) return ShowHidden(control, *instance);
  if (KindOf(*instance) == InstanceKind::FOREIGN) return ShowForeign(control, *instance);
  const std::vector<std::int64_t> ports(instance->Ports.begin(), instance->Ports.end());
  control.Show(Record{{"running", true},
                      {"program", instance->Program},
                      {"process", instance->Id},
                      {"since", KnownTime(instance->Started)},
                      {"directory", instance->Directory},
                      {"ports", ports}});
  return DONE;
}

int ServerReload(Control& control, const Arguments&) {
  const auto instance = control.Around.FindInstance();
  if (!instance) return control.Refuse("No instance is running.");
  if (KindOf(*instance) == InstanceKind::FOREIGN) {
    return control.Refuse("The " + ProcessText(*instance) + " holds the server's name and is no server.");
  }
  const std::int64_t process = ProcessOf(*instance);
  if (process == 0) return control.Refuse("An instance runs that this account may not look at.");
  const std::string& wanted = control.Chosen.Directory;
  if (instance->Id != 0 && !wanted.empty() && !platform::IsSamePlace(wanted, instance->Directory)) {
    return control.Refuse("The instance that runs works in " + instance->Directory + ".");
  }
  if (!control.Around.RequestReload(process)) {
    return control.Refuse("This account may not signal the process " + std::to_string(process) + ".");
  }
  return DONE;
}

int ServerReady(Control& control, const Arguments&) {
  bool smtp = false;
  bool pop3 = false;
  const auto instance = control.OwnInstance();
  for (const int port : PortsToTry(instance)) {
    const std::string greeting = ReadGreeting(port);
    smtp = smtp || greeting.starts_with("220");
    pop3 = pop3 || greeting.starts_with("+OK");
  }
  const bool spool = SpoolTakesFiles();
  control.Show(Record{{"smtp", smtp}, {"pop3", pop3}, {"spool", spool}});
  if (!instance) control.Note("Not ready: no instance runs with this configuration.");
  return smtp && pop3 && spool ? DONE : REFUSED;
}

}  // namespace velnor
