#include "control/control.h"

#include <algorithm>
#include <cerrno>

#include "core/paths.h"
#include "core/settings.h"
#include "core/system_config.h"
#include "platform/account.h"
#include "platform/file.h"
#include "platform/file_rights.h"

namespace velnor {
namespace {

constexpr std::string_view CONSOLE_PROGRAM = "velnor";

bool IsThere(const std::string& path) {
  return platform::ProbePath(path) != platform::PathKind::MISSING;
}

// A part of the configuration, as texts to compare.
std::vector<std::string> Contents(Part part) {
  if (part == Part::DOMAINS) return *g_SystemConfig.LocalDomains.Get();
  if (part == Part::RULES) return *g_SystemConfig.Rules.Get();
  std::vector<std::string> contents;
  if (part == Part::SETTINGS) {
    for (const Setting& setting : AllSettings()) contents.push_back(SettingValue(g_SystemConfig, setting));
    return contents;
  }
  for (const MailList& list : *g_SystemConfig.MailLists.Get()) {
    contents.push_back('[' + std::string(list.Name.View()) + ']');
    for (const MailListMember& member : list.Members) {
      contents.push_back(std::string(member.Address.View()) + ' ' + std::to_string(member.Permission));
    }
  }
  return contents;
}

// Of the processes that an instance may be, the only one that is called as the host is, if none is called as
// the console; 0 otherwise.
std::int64_t HiddenHost(const platform::InstanceProcess& instance) {
  std::int64_t host = 0;
  for (const platform::HiddenProcess& process : instance.Hidden) {
    const bool is_host = process.Name == HOST_PROGRAM;
    if (process.Name == CONSOLE_PROGRAM || (is_host && host != 0)) return 0;
    if (is_host) host = process.Id;
  }
  return host;
}

}  // namespace

Control::Control(const Surroundings& surroundings, const Options& options)
    : Around(surroundings), Chosen(options), Prompts(surroundings.Screen, options.Yes) {}

bool Control::OpenConfiguration(bool may_be_new) {
  const std::string& wanted = Chosen.Directory;
  if (!wanted.empty()) {
    // The server's own paths may be relative to its working directory.
    if (const int error = platform::EnterDirectory(wanted); error != 0) {
      Refuse(wanted + ": " + platform::ErrorText(error));
      return false;
    }
  }
  directory_ = platform::CurrentDirectory();
  if (!platform::WorkAsOwnerOf(directory_)) {
    Refuse(directory_ +
           " is no place for root to work in: others may write there, or the rights of its owner could "
           "not be taken.");
    return false;
  }
  const std::string ini = JoinPath(directory_, "velnor.ini");
  if (IsThere(ini)) {
    if (!CanRead(ini)) return false;
  } else if (!may_be_new || wanted.empty()) {
    Refuse("There is no velnor.ini in " + directory_ +
           ". Name the server's working directory with --directory, or begin a new configuration there with "
           "\"velnorctl --directory DIR config set MailPath PATH\".");
    return false;
  }
  g_SystemConfig.OpenExisting(directory_, Around.AppDirectory);
  return true;
}

int Control::Refuse(const std::string& why) {
  Around.Screen.Err(why + "\n");
  return REFUSED;
}

void Control::Note(const std::string& text) {
  Around.Screen.Err(text + "\n");
}

void Control::Show(const Listing& listing) {
  Around.Screen.Out(Chosen.Json ? ListingJson(listing) : ListingText(listing));
}

void Control::Show(const Record& record) {
  Around.Screen.Out(Chosen.Json ? RecordJson(record) : RecordText(record));
}

std::optional<platform::InstanceProcess> Control::OwnInstance() const {
  std::optional<platform::InstanceProcess> instance = Around.FindInstance();
  if (!instance || instance->Id == 0) return instance;
  const bool own =
      KindOf(*instance) != InstanceKind::FOREIGN && platform::IsSamePlace(instance->Directory, directory_);
  return own ? instance : std::nullopt;
}

bool Control::ConsoleHoldsIt() {
  const std::optional<platform::InstanceProcess> instance = OwnInstance();
  if (!instance || !MayBeConsole(*instance)) return false;
  Refuse(
      instance->Id == 0
          ? "An instance runs that this account may not look at. If it is the console, its next save writes "
            "over the change. Use --force to make the change all the same."
          : "The console runs with this configuration (process " + std::to_string(instance->Id) +
                "), and its next save would write over the change. Make the change there, or use --force.");
  return true;
}

bool Control::CanRead(const std::string& path) {
  const int error = platform::CheckReadable(path, platform::PathKind::FILE);
  return error == 0 || error == ENOENT || Refuse(path + ": " + platform::ErrorText(error)) == DONE;
}

bool Control::MayReplace(const std::string& path) {
  if (!platform::CanReplace(path)) {
    Refuse(path + " can't be written by this account.");
    return false;
  }
  return Chosen.Force || !ConsoleHoldsIt();
}

bool Control::CheckSaved(Part part) {
  const std::vector<std::string> meant = Contents(part);
  g_SystemConfig.OpenExisting(directory_, Around.AppDirectory);
  if (Contents(part) == meant) return true;
  Refuse("Operation failed: the configuration in " + directory_ + " could not be written.");
  return false;
}

void Control::SayWhenItCounts(Effect effect) {
  const std::optional<platform::InstanceProcess> instance = OwnInstance();
  if (!instance) return;
  if (effect == Effect::ACCOUNT) {
    if (MayBeConsole(*instance))
      Note("A dialog of this account that is open in a console writes over the change.");
    return Note("The change counts at once.");
  }
  if (MayBeConsole(*instance)) {
    Note("A save in a console that is running writes over the change as long as it has not been reloaded.");
  }
  switch (effect) {
    case Effect::PORTS:
      return Note("The ports count from the server's next start.");
    case Effect::CONSOLE_START:
      return Note("AutoStart counts from the next start of a console.");
    default:
      return Note("The change counts after \"velnorctl reload\".");
  }
}

InstanceKind KindOf(const platform::InstanceProcess& instance) {
  if (instance.Id == 0) return HiddenHost(instance) == 0 ? InstanceKind::UNKNOWN : InstanceKind::HOST;
  const std::string name = instance.Program.substr(instance.Program.rfind('/') + 1);
  if (name == HOST_PROGRAM) return InstanceKind::HOST;
  return name == CONSOLE_PROGRAM ? InstanceKind::CONSOLE : InstanceKind::FOREIGN;
}

bool MayBeConsole(const platform::InstanceProcess& instance) {
  const InstanceKind kind = KindOf(instance);
  return kind == InstanceKind::CONSOLE || kind == InstanceKind::UNKNOWN;
}

std::int64_t ProcessOf(const platform::InstanceProcess& instance) {
  return instance.Id == 0 ? HiddenHost(instance) : instance.Id;
}

NewFiles::NewFiles(std::vector<std::string> paths) : missing_(std::move(paths)) {
  missing_.erase(std::remove_if(missing_.begin(), missing_.end(), IsThere), missing_.end());
}

void NewFiles::HandOver() const {
  for (const std::string& path : missing_) platform::GiveToParentsOwner(path);
}

void NewFiles::HandOverReadable() const {
  // Reading is granted first, as this account may have no more to do with the file after that.
  for (const std::string& path : missing_) platform::ShareAsParent(path);
  HandOver();
}

}  // namespace velnor
