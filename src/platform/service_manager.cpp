#include "platform/service_manager.h"

#include <cstdlib>

#include "platform/child_process.h"

namespace platform {
namespace {

constexpr int ANSWER_MS = 10'000;  // for what the manager does at once
constexpr int STOP_MS = 600'000;   // for the end of a service, which may have work to finish

std::vector<std::string> Command(ManagerScope scope, const std::vector<std::string>& words) {
  std::vector<std::string> command = {"systemctl", scope == ManagerScope::USER ? "--user" : "--system",
                                      "--no-ask-password", "--quiet"};
  command.insert(command.end(), words.begin(), words.end());
  return command;
}

// The value of one property, without its line end; empty if nobody tells.
std::string Property(ManagerScope scope, const std::string& name, const std::vector<std::string>& units) {
  std::vector<std::string> words = {"show", "--value", "--property=" + name};
  words.insert(words.end(), units.begin(), units.end());
  const ProgramResult answer = RunProgram(Command(scope, words), ANSWER_MS, ErrorOutput::DROPPED);
  if (answer.Status != 0) return {};
  return answer.Output.substr(0, answer.Output.find('\n'));
}

std::string AbsoluteVariable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr && value[0] == '/' ? value : "";
}

}  // namespace

bool ServiceManager::OpenManager() {
  CloseService();
  return !Property(scope_, "Version", {}).empty();
}

bool ServiceManager::OpenService(const std::string& unit) {
  CloseService();
  // A file that can't be read as a unit is a service that exists, and is broken. A masked name is none: that
  // is what stays of a package that was removed.
  const std::string state = Property(scope_, "LoadState", {"--", unit});
  if (state.empty() || state == "not-found" || state == "masked") return false;
  unit_ = unit;
  return true;
}

bool ServiceManager::RequestStart() {
  return !unit_.empty() && Ask({"start", "--no-block", "--", unit_}, ANSWER_MS);
}

bool ServiceManager::RequestStop() {
  return !unit_.empty() && Ask({"stop", "--no-block", "--", unit_}, ANSWER_MS);
}

bool ServiceManager::Enable(const std::string& unit) {
  return Ask({"enable", "--", unit}, ANSWER_MS);
}

bool ServiceManager::Disable(const std::string& unit) {
  return Ask({"disable", "--now", "--", unit}, STOP_MS);
}

bool ServiceManager::Mask(const std::string& unit) {
  return Ask({"mask", "--now", "--", unit}, STOP_MS);
}

bool ServiceManager::ReadUnits() {
  return Ask({"daemon-reload"}, ANSWER_MS);
}

bool ServiceManager::Ask(const std::vector<std::string>& words, int milliseconds) const {
  return RunProgram(Command(scope_, words), milliseconds, ErrorOutput::SHOWN).Status == 0;
}

std::string UnitDirectory(ManagerScope scope) {
  if (scope == ManagerScope::SYSTEM) return "/etc/systemd/system";
  std::string configuration = AbsoluteVariable("XDG_CONFIG_HOME");
  if (configuration.empty()) {
    const std::string home = AbsoluteVariable("HOME");
    if (home.empty()) return {};
    configuration = home + "/.config";
  }
  return configuration + "/systemd/user";
}

}  // namespace platform
