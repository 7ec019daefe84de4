#include "console/logic/service_control.h"

#include "console/logic/dialog_prompts.h"
#include "core/paths.h"

namespace velnor {
namespace {

constexpr int SETTLE_MS = 1000;  // what the service program takes to do its work

}  // namespace

void ServiceControl::InstallService() {
  if (AskExistence() == Existence::EXISTS) {
    ShowInformation(prompter_, "VelnorService already exists!");
    return;
  }
  RunServiceProgram(SWITCH_INSTALL);
  manager_.Wait(SETTLE_MS);
  if (manager_.OpenManager()) {
    if (manager_.OpenService(SERVICE_NAME)) {
      manager_.RequestStart();
      manager_.CloseService();
    }
    manager_.CloseManager();
  }
  ShowInformation(prompter_, "Install service sucessfully!");
}

void ServiceControl::UninstallService() {
  if (AskExistence() == Existence::MISSING) {
    ShowInformation(prompter_, "VelnorService not exists!");
    return;
  }
  manager_.Wait(SETTLE_MS);
  RunServiceProgram(SWITCH_UNINSTALL);
  ShowInformation(prompter_, "Uninstall service sucessfully");
}

void ServiceControl::StopService() {
  if (!Confirm(prompter_, "Are you sure Stopping the service? the application will exit!")) return;
  if (!manager_.OpenManager()) return;
  if (manager_.OpenService(SERVICE_NAME)) {
    manager_.RequestStop();
    manager_.CloseService();
  }
  manager_.CloseManager();
}

ServiceControl::Existence ServiceControl::AskExistence() {
  if (!manager_.OpenManager()) return Existence::UNKNOWN;
  const bool exists = manager_.OpenService(SERVICE_NAME);
  if (exists) manager_.CloseService();
  manager_.CloseManager();
  return exists ? Existence::EXISTS : Existence::MISSING;
}

void ServiceControl::RunServiceProgram(const char* argument) {
  manager_.RunProgram(JoinPath(AppDirectory(), SERVICE_NAME), argument);
}

}  // namespace velnor
