#include "host/status/metrics.h"

namespace packetdb::host {
namespace {

template <auto Member>
void OfSources(const DaemonReport& report, SampleWriter& out) {
  for (const SourceReport& source : report.sources) {
    out.Write({{"source", source.name}}, source.*Member);
  }
}

void Lost(const DaemonReport& report, SampleWriter& out) {
  for (const SourceReport& source : report.sources) {
    out.Write({{"source", source.name}, {"cause", "overrun"}}, source.lost_overrun);
    out.Write({{"source", source.name}, {"cause", "before_read"}}, source.lost_before_read);
  }
}

void Skipped(const DaemonReport& report, SampleWriter& out) {
  for (const SourceReport& source : report.sources) {
    for (const CountedReason& reason : source.skipped) {
      out.Write({{"source", source.name}, {"reason", reason.word}}, reason.count);
    }
  }
}

void Remarked(const DaemonReport& report, SampleWriter& out) {
  for (const SourceReport& source : report.sources) {
    for (const CountedReason& remark : source.remarks) {
      out.Write({{"source", source.name}, {"remark", remark.word}}, remark.count);
    }
  }
}

template <auto Member>
void OfRules(const DaemonReport& report, SampleWriter& out) {
  if (report.rules) out.Write({}, *report.rules.*Member);
}

template <auto Member>
void OfExclusions(const DaemonReport& report, SampleWriter& out) {
  for (const ExclusionReport& exclusion : report.exclusions) {
    out.Write({{"exclusion", exclusion.name}}, exclusion.*Member);
  }
}

}  // namespace

std::vector<MetricFamily> SourceMetrics() {
  return {
      {"packetdb_events_received_total", "counter", "source", "Records that reached the daemon.",
       OfSources<&SourceReport::received>},
      {"packetdb_events_journaled_total", "counter", "source",
       "Of those received, events that went into a journal.", OfSources<&SourceReport::journaled>},
      {"packetdb_events_excluded_total", "counter", "source",
       "Of those received, events that an exclusion kept out.", OfSources<&SourceReport::excluded>},
      {"packetdb_events_unrouted_total", "counter", "source",
       "Of those received, events that no journal takes.", OfSources<&SourceReport::unrouted>},
      {"packetdb_events_skipped_total", "counter", "source,reason",
       "Of those received, packets that gave no event.", Skipped},
      {"packetdb_events_remarked_total", "counter", "source,remark", "Events with something amiss.",
       Remarked},
      {"packetdb_events_lost_total", "counter", "source,cause",
       "Events that never reached the daemon: the kernel's buffer was full (overrun), or the "
       "interface dropped them (before_read).",
       Lost},
      {"packetdb_source_overruns_total", "counter", "source",
       "Times that the kernel reported a full buffer.", OfSources<&SourceReport::overruns>},
      {"packetdb_source_foreign_messages_total", "counter", "source",
       "Messages that did not come from the kernel.", OfSources<&SourceReport::foreign>},
      {"packetdb_source_malformed_messages_total", "counter", "source",
       "Messages that could not be taken apart.", OfSources<&SourceReport::malformed>},
      {"packetdb_source_batches_total", "counter", "source", "Receives that brought something.",
       OfSources<&SourceReport::batches>},
      {"packetdb_source_buffer_bytes", "gauge", "source", "Size of the kernel's buffer.",
       OfSources<&SourceReport::buffer_bytes>},
      {"packetdb_rules", "gauge", "", "Log prefixes that the rule dictionary knows.",
       OfRules<&RuleFacts::known>},
      {"packetdb_rules_unnumbered_events_total", "counter", "",
       "Events journaled without the number of their rule: the dictionary had no room, or could "
       "not "
       "be written.",
       OfRules<&RuleFacts::unnumbered>},
      {"packetdb_rules_forgotten_total", "counter", "",
       "Times that there were too many prefixes or interfaces to remember at once.",
       OfRules<&RuleFacts::forgotten>},
      {"packetdb_excluded_packets_total", "counter", "exclusion",
       "Packets that an exclusion kept out and counted.", OfExclusions<&ExclusionReport::packets>},
      {"packetdb_excluded_bytes_total", "counter", "exclusion", "Their bytes.",
       OfExclusions<&ExclusionReport::bytes>},
  };
}

}  // namespace packetdb::host
