// The three commands that put the server under the operating system's service manager, or take it out.
//
// The console hosts no service: it asks the manager what exists, runs the program of the service with one
// switch, and sends requests to start and to stop. What the manager is stands behind ServiceManager. Every
// command asks it afresh and blocks the console thread for its waits.
#pragma once

#include <string>

#include "console/logic/prompter.h"

namespace velnor {

inline constexpr const char* SERVICE_NAME = "VelnorService";
inline constexpr const char* SWITCH_INSTALL = "/Service";
inline constexpr const char* SWITCH_UNINSTALL = "/UnregServer";

// The operating system's service manager, as far as the commands need it.
class ServiceManager {
 public:
  virtual ~ServiceManager() = default;

  // False where there is no manager, which is no error. CloseManager follows where it was true.
  virtual bool OpenManager() = 0;
  virtual void CloseManager() = 0;

  // True if, and only if, the service exists. Between OpenManager and CloseManager. CloseService follows
  // where it was true, and only between these two do requests have somewhere to go.
  virtual bool OpenService(const std::string& name) = 0;
  virtual void CloseService() = 0;
  virtual void RequestStart() = 0;
  virtual void RequestStop() = 0;

  // Runs a program with one argument, out of sight, and does not wait for it. No result.
  virtual void RunProgram(const std::string& path, const std::string& argument) = 0;

  virtual void Wait(int milliseconds) = 0;
};

class ServiceControl {
 public:
  ServiceControl(ServiceManager& manager, Prompter& prompter) : manager_(manager), prompter_(prompter) {}

  // Enters the service and starts it. Refused with a message if it exists already.
  void InstallService();

  // Takes the service out. Refused with a message if it does not exist.
  void UninstallService();

  // Asks whether to, then sends the service the request to stop. The console itself goes on.
  void StopService();

 private:
  enum class Existence { UNKNOWN, EXISTS, MISSING };

  Existence AskExistence();
  void RunServiceProgram(const char* argument);

  ServiceManager& manager_;
  Prompter& prompter_;
};

}  // namespace velnor
