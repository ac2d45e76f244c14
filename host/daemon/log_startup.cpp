#include "host/daemon/log_startup.h"

#include <ctime>
#include <syslog.h>

namespace packetdb::host {

void OpenLogForChildren() {
  tzset();
  openlog("packetdbd", LOG_PID | LOG_NDELAY, LOG_DAEMON);
}

}  // namespace packetdb::host
