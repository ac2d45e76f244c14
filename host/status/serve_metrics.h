// Metrics for Prometheus, over HTTP.
#pragma once

#include <string>

#include "host/status/http.h"
#include "host/status/status_page.h"

namespace packetdb::host {

// Serves one request on the connected stream socket `fd`, which stays open and the caller's: the
// metrics at /metrics, and at / where they are. `page` may be null: then the journals of
// `directory` are all that is told of. Never throws.
void ServeMetrics(int fd, const StatusPage* page, const std::string& directory,
                  const HttpLimits& limits = {});

}  // namespace packetdb::host
