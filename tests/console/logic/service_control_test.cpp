// The service commands against a manager that is scripted: every step in its order, and every message.

#include "console/logic/service_control.h"

#include <gtest/gtest.h>

#include "core/paths.h"
#include "support/scripted_prompter.h"

namespace velnor {
namespace {

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
    EXPECT_EQ(name, "VelnorService");
    return Note(exists_ ? "open service" : "no service", exists_);
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

  std::string Steps;

 private:
  bool Note(const std::string& step, bool result = true) {
    Steps += step + ", ";
    return result;
  }

  const State state_;
  bool exists_;
};

using Command = void (ServiceControl::*)();
constexpr Command INSTALL = &ServiceControl::InstallService;
constexpr Command UNINSTALL = &ServiceControl::UninstallService;
constexpr Command STOP = &ServiceControl::StopService;

TEST(ServiceControl, StepsAndMessageOfEachCommand) {
  const char* const question = "Are you sure Stopping the service? the application will exit!";
  const struct {
    Command Run;
    State Before;
    PromptAnswer Answer;
    const char* Message;
    const char* Steps;
  } cases[] = {
      {INSTALL, State::MISSING, PromptAnswer::OK, "Install service sucessfully!",
       "open manager, no service, close manager, run /Service, wait 1000, "
       "open manager, open service, start, close service, close manager, "},
      {INSTALL, State::BROKEN, PromptAnswer::OK, "Install service sucessfully!",
       "open manager, no service, close manager, run /Service, wait 1000, "
       "open manager, no service, close manager, "},
      {INSTALL, State::PRESENT, PromptAnswer::OK, "VelnorService already exists!",
       "open manager, open service, close service, close manager, "},
      {UNINSTALL, State::PRESENT, PromptAnswer::OK, "Uninstall service sucessfully",
       "open manager, open service, close service, close manager, wait 1000, run /UnregServer, "},
      {UNINSTALL, State::MISSING, PromptAnswer::OK, "VelnorService not exists!",
       "open manager, no service, close manager, "},
      {UNINSTALL, State::UNREACHABLE, PromptAnswer::OK, "Uninstall service sucessfully",
       "no manager, wait 1000, run /UnregServer, "},
      {STOP, State::PRESENT, PromptAnswer::NO, question, ""},
      {STOP, State::PRESENT, PromptAnswer::YES, question,
       "open manager, open service, stop, close service, close manager, "},
      {STOP, State::UNREACHABLE, PromptAnswer::YES, question, "no manager, "},
  };
  for (const auto& c : cases) {
    ScriptedManager manager(c.Before);
    test::ScriptedPrompter prompter;
    prompter.Answer = c.Answer;
    ServiceControl control(manager, prompter);
    (control.*c.Run)();
    EXPECT_EQ(manager.Steps, c.Steps) << c.Message;
    const PromptButtons buttons = c.Run == STOP ? PromptButtons::YES_NO : PromptButtons::OK;
    EXPECT_EQ(prompter.Shown,
              (std::vector<test::ShownPrompt>{{c.Message, CAPTION_INFORMATION, buttons, PromptIcon::NONE}}));
  }
}

}  // namespace
}  // namespace velnor
