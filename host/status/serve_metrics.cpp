#include "host/status/serve_metrics.h"

#include <array>

#include "host/status/metrics.h"

namespace packetdb::host {

void ServeMetrics(int fd, const StatusPage* page, const std::string& directory,
                  const HttpLimits& limits) {
  const std::array<HttpPage, 2> pages = {{
      {"/metrics", kMetricsContentType,
       [&] { return RenderMetrics(MakeReport(page, directory, ReportMoment::Now())); }},
      {"/", "text/plain; charset=utf-8",
       [] { return std::string("The metrics of packetdb are at /metrics\n"); }},
  }};
  ServeHttp(fd, pages, limits);
}

}  // namespace packetdb::host
