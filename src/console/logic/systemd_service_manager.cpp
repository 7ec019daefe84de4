#include "console/logic/systemd_service_manager.h"

#include "platform/account.h"
#include "platform/child_process.h"
#include "platform/thread.h"

namespace velnor {

SystemdServiceManager::SystemdServiceManager()
    : manager_(platform::IsAdministrator() ? platform::ManagerScope::SYSTEM : platform::ManagerScope::USER) {}

void SystemdServiceManager::RunProgram(const std::string& path, const std::string& argument) {
  platform::StartProgram({path, argument});
}

void SystemdServiceManager::Wait(int milliseconds) {
  platform::SleepMilliseconds(milliseconds);
}

}  // namespace velnor
