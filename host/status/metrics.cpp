#include "host/status/metrics.h"

namespace packetdb::host {

std::vector<MetricFamily> AllMetrics() {
  std::vector<MetricFamily> all;
  for (const auto& part : {DaemonMetrics(), SourceMetrics(), JournalMetrics()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

std::string RenderMetrics(const DaemonReport& report) {
  SampleWriter out;
  for (const MetricFamily& family : AllMetrics()) {
    out.Begin(family);
    family.write(report, out);
  }
  return out.text();
}

}  // namespace packetdb::host
