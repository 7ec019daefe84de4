#include "core/server_app.h"

#include "core/log_service.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace velnor {
namespace {

constexpr int LAST_WORDS_MS = 1000;

std::atomic<CServerApp*> g_App = nullptr;

}  // namespace

CServerApp::CServerApp(std::span<const Service> services) : services_(services) {
  g_App = this;
}

CServerApp::~CServerApp() {
  g_App = nullptr;
}

CServerApp* CServerApp::Current() {
  return g_App;
}

int CServerApp::InitInstance(AppFront& front) {
  if (!instance_.Acquire(INSTANCE_NAME)) {
    front.AlreadyRunning();
    return 0;
  }
  platform::StartFiles();
  g_SystemConfig.Open(platform::CurrentDirectory(), AppDirectory());
  if (const int error = platform::StartSockets(); error != 0) {
    front.CannotStart(FormatText("Failed: can not WSAStartup! Error number = %d", error));
    return 0;
  }
  LogServiceStart(g_SystemConfig.LogPath.Get());
  log_started_ = true;
  front.RunModal(*this);
  return 0;
}

int CServerApp::ExitInstance() {
  if (ServerRunning == 1) StopServices();
  ServerRunning = 0;
  ShuttingDown = 1;
  // A process that never came as far as the log has nobody who might still be speaking.
  if (!log_started_) return 0;
  platform::SleepMilliseconds(LAST_WORDS_MS);
  LogServiceStop();
  return 0;
}

int CServerApp::StartCommand(std::string& refusal) {
  if (PathExists(g_SystemConfig.MailPath.Get(), PathFlag::DIRECTORY) == 0) {
    refusal = MAIL_PATH_MISSING;
    return 0;
  }
  StartServices();
  return 1;
}

void CServerApp::StartServices() {
  ServerRunning = 1;
  for (const Service& service : services_) service.Start();
}

void CServerApp::StopServices() {
  for (const Service& service : services_) service.Stop();
  ServerRunning = 0;
}

void CServerApp::ShowLogLine(int category, std::string_view line) {
  if (ShuttingDown == 1) return;
  LogLines.Put(category, line);
  if (g_SystemConfig.LogToFile != 0) AppendLogFile(line);
}

std::string CServerApp::StatusLine() const {
  return FormatText("POP3: %d    SMTP: %d    Delivers:%d", services_[0].LiveCount(), services_[1].LiveCount(),
                    services_[2].LiveCount());
}

}  // namespace velnor
