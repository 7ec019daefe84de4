#include "apps/reload.h"

#include "core/log_service.h"
#include "core/system_config.h"

namespace velnor {

void ReloadConfig() {
  if (g_SystemConfig.Reload() == 1) return;
  WriteLog(LOG_SYS, "configuration not read anew: %s can't be read, or its MailPath is no directory",
           g_SystemConfig.IniPath.Get().c_str());
}

}  // namespace velnor
