#include <syslog.h>

#include "platform/log.h"

int slput(int priority, const char* text) {
  constexpr int kNoSuchPriority = -1;
  if (priority < LOG_EMERG || priority > LOG_DEBUG) {
    return kNoSuchPriority;
  }
  syslog(LOG_DAEMON | priority, "%s", text);
  return 0;
}
