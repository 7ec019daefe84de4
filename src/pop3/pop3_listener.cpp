#include "pop3/pop3_listener.h"

#include "core/log_service.h"
#include "pop3/pop3_session.h"

namespace velnor {

SessionService g_Pop3Service{
    .Name = "POP3",
    .LogCategory = LOG_POP3,
    .PortSetting = &CSystemConfig::Pop3Port,
    .SessionThread = Pop3SessionThread,
};

void Pop3Start() {
  StartSessionService(g_Pop3Service);
}

void Pop3Stop() {
  StopSessionService(g_Pop3Service);
}

int Pop3SessionCount() {
  return g_Pop3Service.SessionCount;
}

}  // namespace velnor
