// CServerApp: the process from start to end. The guard of the single instance, the log, the main window's
// life, and the start and stop of the services in their order.
//
// The application object knows its services by their table alone and its user by an AppFront, so the same
// object runs under the console and in the program without a window. All operations but ShowLogLine belong to
// one thread, that of the console.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/log_queue.h"
#include "platform/single_instance.h"

namespace velnor {

class CServerApp;

// One service, as the application starts, stops and counts it. No operation reports a failure; a stop returns
// when the last thread of the service has done its work.
struct Service {
  void (*Start)();
  void (*Stop)();
  int (*LiveCount)();  // sessions or deliveries at this moment; any thread
};

// What differs between the console and the program without a window.
class AppFront {
 public:
  virtual ~AppFront() = default;

  // Another instance runs already, or the process could not be made ready for the reason given.
  virtual void AlreadyRunning() = 0;
  virtual void CannotStart(const std::string& reason) = 0;

  // The life of the main window, from its coming up to its end.
  virtual void RunModal(CServerApp& app) = 0;
};

// The system-wide name that the running instance holds.
inline constexpr const char* INSTANCE_NAME = "Velnor.exe";

inline constexpr const char* MAIL_PATH_MISSING =
    "You didn't set the MailPath, please open the configuration window to setup";

class CServerApp {
 public:
  // The services in the order of starting and stopping: POP3, SMTP, delivery agent. The object makes itself
  // the process's application object for as long as it lives; the log has no way to go before and after.
  explicit CServerApp(std::span<const Service> services);
  ~CServerApp();
  CServerApp(const CServerApp&) = delete;
  CServerApp& operator=(const CServerApp&) = delete;

  // The application object, or none. Any thread.
  static CServerApp* Current();

  // Takes the single instance's name, opens the configuration of the working directory, starts the log
  // service and runs the front. Always 0. A second instance touches nothing. ExitInstance follows on every
  // path: it stops what runs, waits a second for last words and closes the log.
  int InitInstance(AppFront& front);
  int ExitInstance();

  // The Start command: 1, or 0 with nothing started and the reason in `refusal` if the mail root is no
  // directory.
  int StartCommand(std::string& refusal);

  void StartServices();
  void StopServices();

  // The one road of a finished line: into LogLines, and with LogToFile into the daily file. Any thread.
  void ShowLogLine(int category, std::string_view line);

  // "POP3: %d    SMTP: %d    Delivers:%d" with the live counts. Any thread.
  std::string StatusLine() const;

  bool IsServerRunning() const { return ServerRunning == 1; }

  // Finished lines on their way to the front.
  LogLineQueue LogLines;

 private:
  std::span<const Service> services_;
  platform::SingleInstance instance_;
  std::int32_t ServerRunning = 0;  // 1 from the first step of StartServices to the last of StopServices
  std::atomic<std::int32_t> ShuttingDown = 0;  // 1: no log line goes anywhere any more
  bool log_started_ = false;
};

}  // namespace velnor
