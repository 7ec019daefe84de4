#include "smtp/smtp_listener.h"

#include "core/log_service.h"
#include "smtp/smtp_session.h"

namespace velnor {

SessionService g_SmtpService{
    .Name = "SMTP",
    .LogCategory = LOG_SMTP,
    .PortSetting = &CSystemConfig::SmtpPort,
    .SessionThread = SmtpSessionThread,
};

void SmtpStart() {
  StartSessionService(g_SmtpService);
}

void SmtpStop() {
  StopSessionService(g_SmtpService);
}

int SmtpSessionCount() {
  return g_SmtpService.SessionCount;
}

}  // namespace velnor
