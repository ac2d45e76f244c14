// What Prometheus is told. docs/metrics.md lists the metrics and is compared with these.
#pragma once

#include <string>
#include <vector>

#include "host/status/report.h"
#include "host/status/sample_writer.h"

namespace packetdb::host {

// In the order in which they are written.
std::vector<MetricFamily> AllMetrics();

// The parts of it.
std::vector<MetricFamily> DaemonMetrics();
std::vector<MetricFamily> SourceMetrics();
std::vector<MetricFamily> JournalMetrics();

// The content type of what RenderMetrics gives.
inline constexpr const char* kMetricsContentType = "text/plain; version=0.0.4; charset=utf-8";

// The report in the text format 0.0.4.
std::string RenderMetrics(const DaemonReport& report);

}  // namespace packetdb::host
