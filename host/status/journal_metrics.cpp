#include "host/status/metrics.h"

namespace packetdb::host {
namespace {

template <auto Member>
void OfFiles(const DaemonReport& report, SampleWriter& out) {
  for (const JournalReport& journal : report.journals) {
    if (journal.file) out.Write({{"journal", journal.name}}, *journal.file.*Member);
  }
}

// What may be unknown is missing then.
template <auto Member>
void OfFilesThatTell(const DaemonReport& report, SampleWriter& out) {
  for (const JournalReport& journal : report.journals) {
    if (journal.file && *journal.file.*Member) {
      out.Write({{"journal", journal.name}}, *(*journal.file.*Member));
    }
  }
}

template <auto Function>
void Forecast(const DaemonReport& report, SampleWriter& out) {
  for (const JournalReport& journal : report.journals) {
    const auto seconds = journal.file ? (*journal.file.*Function)() : std::nullopt;
    if (seconds) out.Write({{"journal", journal.name}}, *seconds);
  }
}

template <auto Member>
void OfActivity(const DaemonReport& report, SampleWriter& out) {
  for (const JournalReport& journal : report.journals) {
    if (journal.activity) out.Write({{"journal", journal.name}}, *journal.activity.*Member);
  }
}

void Readable(const DaemonReport& report, SampleWriter& out) {
  for (const JournalReport& journal : report.journals) {
    out.Write({{"journal", journal.name}}, std::uint64_t{journal.file ? 1U : 0U});
  }
}

void Capacity(const DaemonReport& report, SampleWriter& out) {
  for (const JournalReport& journal : report.journals) {
    if (journal.file && journal.file->HasBound()) {
      out.Write({{"journal", journal.name}}, journal.file->capacity);
    }
  }
}

std::vector<MetricFamily> FileMetrics() {
  return {
      {"packetdb_journal_readable", "gauge", "journal",
       "Whether its file could be read; what is told of the file is missing otherwise.", Readable},
      {"packetdb_journal_records", "gauge", "journal", "Records that it holds.",
       OfFiles<&JournalFile::records>},
      {"packetdb_journal_capacity_records", "gauge", "journal",
       "Records that it keeps; missing without a bound.", Capacity},
      {"packetdb_journal_file_bytes", "gauge", "journal", "Size of its file.",
       OfFiles<&JournalFile::file_bytes>},
      {"packetdb_journal_oldest_timestamp_seconds", "gauge", "journal",
       "When its oldest record was first seen, Unix time.", OfFilesThatTell<&JournalFile::oldest>},
      {"packetdb_journal_newest_timestamp_seconds", "gauge", "journal",
       "When one of its newest records was last seen, Unix time.",
       OfFilesThatTell<&JournalFile::newest>},
      {"packetdb_journal_overwrite_seconds", "gauge", "journal",
       "Forecast until its oldest record is overwritten, 0 when that happens already; missing "
       "without a bound, and when nothing came recently.",
       Forecast<&JournalFile::SecondsToOverwriting>},
      {"packetdb_journal_appended_records_total", "counter", "journal", "Records ever made in it.",
       OfFiles<&JournalFile::appended>},
      {"packetdb_journal_merged_events_total", "counter", "journal",
       "Events ever added to a record that was there.", OfFiles<&JournalFile::merged>},
      {"packetdb_journal_overwritten_records_total", "counter", "journal",
       "Records ever replaced by newer ones.", OfFiles<&JournalFile::overwritten>},
      {"packetdb_journal_damaged_records_total", "counter", "journal",
       "Records ever found damaged.", OfFiles<&JournalFile::damaged>},
      {"packetdb_journal_lost_records_total", "counter", "journal",
       "Records that were not on the disk yet when the machine stopped.",
       OfFiles<&JournalFile::lost>},
  };
}

std::vector<MetricFamily> ActivityMetrics() {
  return {
      {"packetdb_journal_events_total", "counter", "journal", "Events that went into it.",
       OfActivity<&JournalActivity::events>},
      {"packetdb_journal_packets_total", "counter", "journal", "Packets that they stand for.",
       OfActivity<&JournalActivity::packets>},
      {"packetdb_journal_bytes_total", "counter", "journal", "Bytes of these packets.",
       OfActivity<&JournalActivity::bytes>},
      {"packetdb_journal_adjusted_times_total", "counter", "journal",
       "Events moved up in time so that times never go back.",
       OfActivity<&JournalActivity::adjusted_times>},
      {"packetdb_journal_refused_events_total", "counter", "journal",
       "Events that it could not take: lost.", OfActivity<&JournalActivity::failed>},
  };
}

}  // namespace

std::vector<MetricFamily> JournalMetrics() {
  std::vector<MetricFamily> all = FileMetrics();
  const std::vector<MetricFamily> activity = ActivityMetrics();
  all.insert(all.end(), activity.begin(), activity.end());
  return all;
}

}  // namespace packetdb::host
