#include "apps/services.h"

#include <array>

#include "agent/agent.h"
#include "pop3/pop3_listener.h"
#include "smtp/smtp_listener.h"

namespace velnor {

std::span<const Service> AllServices() {
  static constexpr std::array SERVICES = {
      Service{Pop3Start, Pop3Stop, Pop3SessionCount},
      Service{SmtpStart, SmtpStop, SmtpSessionCount},
      Service{AgentStart, AgentStop, AgentWorkerCount},
  };
  return SERVICES;
}

}  // namespace velnor
