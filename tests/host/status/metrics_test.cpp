#include "host/status/metrics.h"

#include <gmock/gmock.h>

#include "tests/host/status/full_report.h"
#include "tests/host/status/prometheus_text.h"

namespace packetdb::host::test {
namespace {

using Families = std::vector<PrometheusFamily>;
using testing::ElementsAre;

Families FullMetrics() { return ReadPrometheusText(RenderMetrics(FullReport())); }

std::vector<std::string> NamesOf(const Families& families) {
  std::vector<std::string> names;
  for (const PrometheusFamily& family : families) names.push_back(family.name);
  return names;
}

TEST(Metrics, AreAllThereWhenAllIsKnown) {
  std::vector<std::string> names;
  for (const MetricFamily& family : AllMetrics()) names.emplace_back(family.name);
  EXPECT_THAT(NamesOf(FullMetrics()), testing::ElementsAreArray(names));
  for (const std::string& name : names) EXPECT_TRUE(name.starts_with("packetdb_")) << name;
}

TEST(Metrics, SayOnlyWhatIsKnown) {
  EXPECT_THAT(NamesOf(ReadPrometheusText(RenderMetrics(EmptyReport()))),
              ElementsAre("packetdb_build_info", "packetdb_problems"));
}

TEST(Metrics, HaveTheLabelsThatTheyAnnounce) {
  for (const MetricFamily& family : AllMetrics()) {
    for (const PrometheusFamily& written : FullMetrics()) {
      if (written.name != family.name) continue;
      std::vector<std::string> labels;
      for (const auto& [label, value] : written.samples.front().labels) labels.push_back(label);
      std::vector<std::string> announced;
      std::string rest(family.labels);
      for (std::size_t end = 0; !rest.empty(); rest.erase(0, end + 1)) {
        end = std::min(rest.find(','), rest.size() - 1);
        announced.push_back(rest.substr(0, rest[end] == ',' ? end : end + 1));
      }
      EXPECT_THAT(labels, testing::UnorderedElementsAreArray(announced)) << family.name;
    }
  }
}

TEST(Metrics, TellOfTheDaemon) {
  const Families families = FullMetrics();
  EXPECT_EQ(ValueIn(families, "packetdb_build_info",
                    {{"version", "1.2.3"},
                     {"library", "1.2.4"},
                     {"journal_format", "4"},
                     {"layout", "2"},
                     {"bus_protocol", "1"}}),
            1);
  EXPECT_EQ(ValueIn(families, "packetdb_start_time_seconds"), 1699990000);
  EXPECT_EQ(ValueIn(families, "packetdb_uptime_seconds"), 11000);
  EXPECT_EQ(ValueIn(families, "packetdb_last_event_timestamp_seconds"), 1700000999);
  EXPECT_EQ(ValueIn(families, "packetdb_reloads_total", {{"result", "done"}}), 21);
  EXPECT_EQ(ValueIn(families, "packetdb_reloads_total", {{"result", "refused"}}), 22);
  EXPECT_EQ(ValueIn(families, "packetdb_process_restarts_total", {{"process", "query"}}), 23);
  EXPECT_EQ(ValueIn(families, "packetdb_process_restarts_total", {{"process", "intake"}}), 24);
  EXPECT_EQ(ValueIn(families, "packetdb_problems"), 1);
}

TEST(Metrics, TellOfClients) {
  const Families families = FullMetrics();
  EXPECT_EQ(ValueIn(families, "packetdb_connections_total"), 31);
  EXPECT_EQ(ValueIn(families, "packetdb_connections"), 32);
  EXPECT_EQ(ValueIn(families, "packetdb_connections_refused_total", {{"reason", "user"}}), 33);
  EXPECT_EQ(ValueIn(families, "packetdb_connections_refused_total", {{"reason", "limit"}}), 34);
  EXPECT_EQ(ValueIn(families, "packetdb_connections_died_total"), 35);
}

TEST(Metrics, TellOfRules) {
  const Families families = FullMetrics();
  EXPECT_EQ(ValueIn(families, "packetdb_rules"), 41);
  EXPECT_EQ(ValueIn(families, "packetdb_rules_unnumbered_events_total"), 42);
  EXPECT_EQ(ValueIn(families, "packetdb_rules_forgotten_total"), 43);
}

TEST(Metrics, TellOfEachSource) {
  const Families families = FullMetrics();
  const auto value = [&](const std::string& name, std::map<std::string, std::string> labels = {}) {
    labels["source"] = "capture:eth0";
    return ValueIn(families, "packetdb_" + name, labels);
  };
  EXPECT_EQ(value("events_received_total"), 201);
  EXPECT_EQ(value("events_journaled_total"), 202);
  EXPECT_EQ(value("events_excluded_total"), 203);
  EXPECT_EQ(value("events_unrouted_total"), 204);
  EXPECT_EQ(value("events_lost_total", {{"cause", "overrun"}}), 205);
  EXPECT_EQ(value("events_lost_total", {{"cause", "before_read"}}), 206);
  EXPECT_EQ(value("source_overruns_total"), 207);
  EXPECT_EQ(value("source_foreign_messages_total"), 208);
  EXPECT_EQ(value("source_malformed_messages_total"), 209);
  EXPECT_EQ(value("source_batches_total"), 210);
  EXPECT_EQ(value("source_buffer_bytes"), 211);
  EXPECT_EQ(value("events_skipped_total", {{"reason", "ipv6"}}), 212);
  EXPECT_EQ(value("events_skipped_total", {{"reason", "arp"}}), 0) << "told before it happens";
  EXPECT_EQ(value("events_remarked_total", {{"remark", "time_clamped"}}), 213);
  EXPECT_EQ(ValueIn(families, "packetdb_excluded_packets_total", {{"exclusion", "noise"}}), 501);
  EXPECT_EQ(ValueIn(families, "packetdb_excluded_bytes_total", {{"exclusion", "noise"}}), 502);
}

TEST(Metrics, TellOfEachJournal) {
  const Families families = FullMetrics();
  const auto value = [&](const std::string& name) {
    return ValueIn(families, "packetdb_journal_" + name, {{"journal", "all"}});
  };
  EXPECT_EQ(value("readable"), 1);
  EXPECT_EQ(value("records"), 250);
  EXPECT_EQ(value("capacity_records"), 1000);
  EXPECT_EQ(value("file_bytes"), 90681344);
  EXPECT_EQ(value("oldest_timestamp_seconds"), 1700000000);
  EXPECT_EQ(value("newest_timestamp_seconds"), 1700000900);
  EXPECT_EQ(value("overwrite_seconds"), 1500);
  EXPECT_EQ(value("appended_records_total"), 1302);
  EXPECT_EQ(value("merged_events_total"), 2604);
  EXPECT_EQ(value("overwritten_records_total"), 1052);
  EXPECT_EQ(value("damaged_records_total"), 303);
  EXPECT_EQ(value("lost_records_total"), 304);
  EXPECT_EQ(value("events_total"), 401);
  EXPECT_EQ(value("packets_total"), 402);
  EXPECT_EQ(value("bytes_total"), 403);
  EXPECT_EQ(value("adjusted_times_total"), 404);
  EXPECT_EQ(value("refused_events_total"), 405);
}

TEST(Metrics, LeaveOutWhatAJournalDoesNotTell) {
  DaemonReport report = EmptyReport();
  report.journals = {{"empty", JournalFile(), {}}, {"gone", {}, {}}};
  const Families families = ReadPrometheusText(RenderMetrics(report));
  EXPECT_EQ(ValueIn(families, "packetdb_journal_readable", {{"journal", "empty"}}), 1);
  EXPECT_EQ(ValueIn(families, "packetdb_journal_readable", {{"journal", "gone"}}), 0);
  const auto names = NamesOf(families);
  for (const char* name :
       {"packetdb_journal_capacity_records", "packetdb_journal_overwrite_seconds",
        "packetdb_journal_oldest_timestamp_seconds"}) {
    EXPECT_THAT(names, testing::Not(testing::Contains(name)));
  }
}

TEST(Metrics, TakeNamesOfAnyBytes) {
  DaemonReport report = EmptyReport();
  report.exclusions = {
      {"a\"b", 1, 0}, {"c\\d", 2, 0}, {"e\nf", 3, 0}, {"g\xff", 4, 0}, {"h\u00e9", 5, 0}};
  const Families families = ReadPrometheusText(RenderMetrics(report));
  const auto value = [&](const char* name) {
    return ValueIn(families, "packetdb_excluded_packets_total", {{"exclusion", name}});
  };
  EXPECT_EQ(value("a\"b"), 1);
  EXPECT_EQ(value("c\\\\d"), 2) << "as in the log: told from what is escaped";
  EXPECT_EQ(value("e\\x0af"), 3);
  EXPECT_EQ(value("g\\xff"), 4);
  EXPECT_EQ(value("h\u00e9"), 5);
}

TEST(Metrics, TakeTheLargestNumbers) {
  DaemonReport report = EmptyReport();
  report.exclusions = {{"all", ~std::uint64_t{0}, 0}};
  EXPECT_THAT(RenderMetrics(report),
              testing::HasSubstr("{exclusion=\"all\"} 18446744073709551615\n"));
}

}  // namespace
}  // namespace packetdb::host::test
