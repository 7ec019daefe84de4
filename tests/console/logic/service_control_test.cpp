// The service commands against a manager that is scripted: every step in its order, and every message.

#include "console/logic/service_control.h"

#include <gtest/gtest.h>

#include "core/paths.h"
#include "support/scripted_prompter.h"

namespace velnor {
namespace {

using test::ScriptedPrompter;
using Steps = std::vector<std::string>;

enum class State { PRESENT, MISSING, BROKEN, UNREACHABLE };

// A manager that may be unreachable, and a service that running its program with "/Service" brings into being
// unless the program is broken.
class ScriptedManager : public ServiceManager {
 public:
  explicit ScriptedManager(State state) : state_(state), exists_(state == State::PRESENT) {}

  bool OpenManager() override {
    const bool reached = state_ != State::UNREACHABLE;
    return Note(reached ? "open manager" : "no manager", reached);
  }
  void CloseManager() override { Note("close manager"); }
  bool OpenService(const std::string& name) override {
    return Note((exists_ ? "open " : "no ") + name, exists_);
  }
  void CloseService() override { Note("close service"); }
  void RequestStart() override { Note("start"); }
  void RequestStop() override { Note("stop"); }
  void RunProgram(const std::string& path, const std::string& argument) override {
    EXPECT_EQ(path, AppDirectory() + "/VelnorService");
    Note("run " + argument);
    exists_ = exists_ || (argument == "/Service" && state_ != State::BROKEN);
  }
  void Wait(int milliseconds) override { Note("wait " + std::to_string(milliseconds)); }

  Steps Taken;

 private:
  bool Note(const std::string& step, bool result = true) {
    Taken.push_back(step);
    return result;
  }

  const State state_;
  bool exists_;
};

using Command = void (ServiceControl::*)();

// The steps of a command, which shows one box with this text.
Steps TakenBy(Command command, State state, const char* message, PromptAnswer answer = PromptAnswer::NO) {
  ScriptedManager manager(state);
  ScriptedPrompter prompter;
  prompter.Answer = answer;
  ServiceControl control(manager, prompter);
  (control.*command)();
  EXPECT_EQ(prompter.Shown.size(), 1U);
  EXPECT_EQ(prompter.Shown.front().Text, message);
  return manager.Taken;
}

TEST(ServiceControl, InstallsWhatIsMissingAndStartsIt) {
  const Steps asked = {"open manager", "no VelnorService", "close manager",
                       "run /Service", "wait 1000",        "open manager"};
  Steps installed = asked;
  installed.insert(installed.end(), {"open VelnorService", "start", "close service", "close manager"});
  Steps failed = asked;
  failed.insert(failed.end(), {"no VelnorService", "close manager"});
  const Command install = &ServiceControl::InstallService;
  EXPECT_EQ(TakenBy(install, State::MISSING, "Install service sucessfully!"), installed);
  EXPECT_EQ(TakenBy(install, State::BROKEN, "Install service sucessfully!"), failed);
  EXPECT_EQ(TakenBy(install, State::PRESENT, "VelnorService already exists!"),
            (Steps{"open manager", "open VelnorService", "close service", "close manager"}));
}

TEST(ServiceControl, UninstallsWhatIsThere) {
  const Command uninstall = &ServiceControl::UninstallService;
  EXPECT_EQ(TakenBy(uninstall, State::PRESENT, "Uninstall service sucessfully"),
            (Steps{"open manager", "open VelnorService", "close service", "close manager", "wait 1000",
                   "run /UnregServer"}));
  EXPECT_EQ(TakenBy(uninstall, State::MISSING, "VelnorService not exists!"),
            (Steps{"open manager", "no VelnorService", "close manager"}));
}

TEST(ServiceControl, StopsAfterAYesAlone) {
  const char* const question = "Are you sure Stopping the service? the application will exit!";
  const Command stop = &ServiceControl::StopService;
  EXPECT_EQ(TakenBy(stop, State::PRESENT, question), Steps());
  EXPECT_EQ(TakenBy(stop, State::PRESENT, question, PromptAnswer::YES),
            (Steps{"open manager", "open VelnorService", "stop", "close service", "close manager"}));
  EXPECT_EQ(TakenBy(stop, State::UNREACHABLE, question, PromptAnswer::YES), Steps{"no manager"});
}

}  // namespace
}  // namespace velnor
