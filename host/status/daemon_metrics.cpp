#include "host/status/metrics.h"

namespace packetdb::host {
namespace {

template <auto Member>
void OfDaemon(const DaemonReport& report, SampleWriter& out) {
  if (report.daemon) out.Write({}, *report.daemon.*Member);
}

template <auto Member>
void OfClients(const DaemonReport& report, SampleWriter& out) {
  if (report.clients) out.Write({}, *report.clients.*Member);
}

void BuildInfo(const DaemonReport& report, SampleWriter& out) {
  const Versions& versions = report.versions;
  out.Write({{"version", versions.program},
             {"library", versions.library},
             {"journal_format", versions.journal_format},
             {"layout", std::to_string(versions.layout)},
             {"bus_protocol", std::to_string(versions.bus_protocol)}},
            std::uint64_t{1});
}

void LastEvent(const DaemonReport& report, SampleWriter& out) {
  if (report.daemon && report.daemon->last_event) out.Write({}, *report.daemon->last_event);
}

void Reloads(const DaemonReport& report, SampleWriter& out) {
  if (!report.daemon) return;
  out.Write({{"result", "done"}}, report.daemon->reloads);
  out.Write({{"result", "refused"}}, report.daemon->failed_reloads);
}

void Restarts(const DaemonReport& report, SampleWriter& out) {
  if (!report.daemon) return;
  out.Write({{"process", "query"}}, report.daemon->query_restarts);
  out.Write({{"process", "intake"}}, report.daemon->intake_restarts);
}

void Refused(const DaemonReport& report, SampleWriter& out) {
  if (!report.clients) return;
  out.Write({{"reason", "user"}}, report.clients->refused_user);
  out.Write({{"reason", "limit"}}, report.clients->refused_limit);
}

void Problems(const DaemonReport& report, SampleWriter& out) {
  out.Write({}, std::uint64_t{report.problems.size()});
}

}  // namespace

std::vector<MetricFamily> DaemonMetrics() {
  return {
      {"packetdb_build_info", "gauge", "version,library,journal_format,layout,bus_protocol",
       "Always 1; the labels tell the versions.", BuildInfo},
      {"packetdb_start_time_seconds", "gauge", "", "When the daemon started, Unix time.",
       OfDaemon<&DaemonFacts::started>},
      {"packetdb_uptime_seconds", "gauge", "",
       "Seconds since the daemon started, whatever happened to the clock.",
       OfDaemon<&DaemonFacts::uptime_seconds>},
      {"packetdb_last_event_timestamp_seconds", "gauge", "",
       "When the newest event was journaled, Unix time; missing before the first.", LastEvent},
      {"packetdb_reloads_total", "counter", "result",
       "Reloads of the configuration, done or refused because it was not right.", Reloads},
      {"packetdb_process_restarts_total", "counter", "process",
       "Processes that were started again: query after its death, intake by reloads.", Restarts},
      {"packetdb_connections", "gauge", "", "Clients that are connected.",
       OfClients<&ClientFacts::active>},
      {"packetdb_connections_total", "counter", "", "Clients that were taken.",
       OfClients<&ClientFacts::connections>},
      {"packetdb_connections_refused_total", "counter", "reason",
       "Clients that may not connect (user), or not so often at a time (limit).", Refused},
      {"packetdb_connections_died_total", "counter", "",
       "Processes of connections that ended by a signal.", OfClients<&ClientFacts::died>},
      {"packetdb_problems", "gauge", "",
       "What keeps journals or names from being served; packetdb status tells more.", Problems},
  };
}

}  // namespace packetdb::host
