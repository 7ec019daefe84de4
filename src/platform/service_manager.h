// ServiceManager: systemd, as far as a program needs it that enters a service, starts it, stops it and takes
// it out. Every operation runs `systemctl`, so nothing has to be linked; a machine on which that is missing
// or reaches nobody has no manager. Units go by their full name ("name.service"). One object, one thread.
#pragma once

#include <string>
#include <vector>

namespace platform {

// The manager of the machine, and that of the user who runs the program.
enum class ManagerScope { SYSTEM, USER };

class ServiceManager {
 public:
  explicit ServiceManager(ManagerScope scope) : scope_(scope) {}

  // Whether the manager answers. CloseManager follows where it does.
  bool OpenManager();
  void CloseManager() { CloseService(); }

  // Whether the manager knows a unit of this name that can be started, wherever its file is. The requests
  // below go to that unit until CloseService.
  bool OpenService(const std::string& unit);
  void CloseService() { unit_.clear(); }

  // Ask for a start or a stop and do not wait for it. False if the request was not taken.
  bool RequestStart();
  bool RequestStop();

  // Has a unit start with the machine, or with its user's first session, from now on; the manager reads all
  // unit files anew. Its file lies in UnitDirectory. False if it could not be done.
  bool Enable(const std::string& unit);

  // The reverse; a unit that runs is stopped, which is waited for.
  bool Disable(const std::string& unit);

  // Hides a unit from the manager, so that it counts as none, wherever its file is. One that runs is stopped,
  // which is waited for.
  bool Mask(const std::string& unit);

  // Has the manager read all unit files anew.
  bool ReadUnits();

 private:
  bool Ask(const std::vector<std::string>& words, int milliseconds) const;

  ManagerScope scope_;
  std::string unit_;
};

// Where the administrator's own unit files lie, and the user's. Empty if there is no such place.
std::string UnitDirectory(ManagerScope scope);

}  // namespace platform
