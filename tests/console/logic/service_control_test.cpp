// The service commands against a manager that is scripted: every step in its order, and every message.

#include "console/logic/service_control.h"

#include <gtest/gtest.h>

#include "core/paths.h"
#include "support/scripted_prompter.h"

namespace velnor {
namespace {

using test::ScriptedPrompter;
using Steps = std::vector<std::string>;

// A manager that may be missing, and a service that running its program with "/Service" brings into being.
class ScriptedManager : public ServiceManager {
 public:
  bool OpenManager() override { return Note(IsThere ? "open manager" : "no manager", IsThere); }
  void CloseManager() override { Note("close manager"); }
  bool OpenService(const std::string& name) override {
    return Note((Exists ? "open " : "no ") + name, Exists);
  }
  void CloseService() override { Note("close service"); }
  void RequestStart() override { Note("start"); }
  void RequestStop() override { Note("stop"); }
  void RunProgram(const std::string& path, const std::string& argument) override {
    EXPECT_EQ(path, AppDirectory() + "/VelnorService");
    Note("run " + argument);
    Exists = Exists || (argument == "/Service" && ProgramWorks);
  }
  void Wait(int milliseconds) override { Note("wait " + std::to_string(milliseconds)); }

  bool IsThere = true;
  bool Exists = false;
  bool ProgramWorks = true;
  Steps Taken;

 private:
  bool Note(const std::string& step, bool result = true) {
    Taken.push_back(step);
    return result;
  }
};

struct Case {
  const char* Name;
  void (ServiceControl::*Command)();
  bool IsThere;
  bool Exists;
  bool ProgramWorks;
  PromptAnswer Answer;
  Steps Expected;
  const char* Message;
};

constexpr const char* QUESTION = "Are you sure Stopping the service? the application will exit!";

const Case CASES[] = {
    {"install",
     &ServiceControl::InstallService,
     true,
     false,
     true,
     PromptAnswer::NO,
     {"open manager", "no VelnorService", "close manager", "run /Service", "wait 1000", "open manager",
      "open VelnorService", "start", "close service", "close manager"},
     "Install service sucessfully!"},
    {"install, but the program fails",
     &ServiceControl::InstallService,
     true,
     false,
     false,
     PromptAnswer::NO,
     {"open manager", "no VelnorService", "close manager", "run /Service", "wait 1000", "open manager",
      "no VelnorService", "close manager"},
     "Install service sucessfully!"},
    {"install what exists",
     &ServiceControl::InstallService,
     true,
     true,
     true,
     PromptAnswer::NO,
     {"open manager", "open VelnorService", "close service", "close manager"},
     "VelnorService already exists!"},
    {"install without a manager",
     &ServiceControl::InstallService,
     false,
     false,
     true,
     PromptAnswer::NO,
     {"no manager", "run /Service", "wait 1000", "no manager"},
     "Install service sucessfully!"},
    {"uninstall",
     &ServiceControl::UninstallService,
     true,
     true,
     true,
     PromptAnswer::NO,
     {"open manager", "open VelnorService", "close service", "close manager", "wait 1000",
      "run /UnregServer"},
     "Uninstall service sucessfully"},
    {"uninstall what is missing",
     &ServiceControl::UninstallService,
     true,
     false,
     true,
     PromptAnswer::NO,
     {"open manager", "no VelnorService", "close manager"},
     "VelnorService not exists!"},
    {"uninstall without a manager",
     &ServiceControl::UninstallService,
     false,
     true,
     true,
     PromptAnswer::NO,
     {"no manager", "wait 1000", "run /UnregServer"},
     "Uninstall service sucessfully"},
    {"stop",
     &ServiceControl::StopService,
     true,
     true,
     true,
     PromptAnswer::YES,
     {"open manager", "open VelnorService", "stop", "close service", "close manager"},
     QUESTION},
    {"stop, answered with No",
     &ServiceControl::StopService,
     true,
     true,
     true,
     PromptAnswer::NO,
     {},
     QUESTION},
    {"stop what is missing",
     &ServiceControl::StopService,
     true,
     false,
     true,
     PromptAnswer::YES,
     {"open manager", "no VelnorService", "close manager"},
     QUESTION},
    {"stop without a manager",
     &ServiceControl::StopService,
     false,
     true,
     true,
     PromptAnswer::YES,
     {"no manager"},
     QUESTION},
};

TEST(ServiceControl, TakesItsStepsAndSaysSo) {
  for (const Case& test : CASES) {
    SCOPED_TRACE(test.Name);
    ScriptedManager manager;
    manager.IsThere = test.IsThere;
    manager.Exists = test.Exists;
    manager.ProgramWorks = test.ProgramWorks;
    ScriptedPrompter prompter;
    prompter.Answer = test.Answer;
    ServiceControl control(manager, prompter);
    (control.*test.Command)();
    EXPECT_EQ(manager.Taken, test.Expected);
    ASSERT_EQ(prompter.Shown.size(), 1U);
    EXPECT_EQ(prompter.Shown[0].Text, test.Message);
    EXPECT_EQ(prompter.Shown[0].Caption, "Information");
    EXPECT_EQ(prompter.Shown[0].Buttons,
              test.Message == QUESTION ? PromptButtons::YES_NO : PromptButtons::OK);
  }
}

}  // namespace
}  // namespace velnor
