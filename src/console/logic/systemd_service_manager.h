// SystemdServiceManager: the seam of the service commands with systemd behind it. The machine's manager for
// root, for all others that of their own session, which is where the service program enters the unit too.
// Console thread.
#pragma once

#include "console/logic/service_control.h"
#include "platform/service_manager.h"

namespace velnor {

class SystemdServiceManager : public ServiceManager {
 public:
  SystemdServiceManager();

  bool OpenManager() override { return manager_.OpenManager(); }
  void CloseManager() override { manager_.CloseManager(); }
  bool OpenService(const std::string& name) override { return manager_.OpenService(name + ".service"); }
  void CloseService() override { manager_.CloseService(); }
  void RequestStart() override { manager_.RequestStart(); }
  void RequestStop() override { manager_.RequestStop(); }
  void RunProgram(const std::string& path, const std::string& argument) override;
  void Wait(int milliseconds) override;

 private:
  platform::ServiceManager manager_;
};

}  // namespace velnor
