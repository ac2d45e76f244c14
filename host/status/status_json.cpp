#include "host/status/status_json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace packetdb::host {
namespace {

using Json = nlohmann::ordered_json;

Json RowOf(const char* kind) {
  Json row;
  row["kind"] = kind;
  return row;
}

template <class T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

// Bytes that are no UTF-8, as the names of interfaces may have, become U+FFFD.
std::string TextOf(const Json& row) {
  constexpr int kOneLine = -1;
  return row.dump(kOneLine, ' ', false, Json::error_handler_t::replace);
}

Json DaemonRow(const DaemonReport& report) {
  Json row = RowOf("daemon");
  row["version"] = report.versions.program;
  row["library"] = report.versions.library;
  row["journal_format"] = report.versions.journal_format;
  row["layout_version"] = report.versions.layout;
  row["bus_protocol"] = report.versions.bus_protocol;
  row["now_unix"] = report.now;
  if (report.daemon) {
    const DaemonFacts& daemon = *report.daemon;
    row["started_unix"] = daemon.started;
    row["uptime_seconds"] = daemon.uptime_seconds;
    row["reloads"] = daemon.reloads;
    row["failed_reloads"] = daemon.failed_reloads;
    row["query_restarts"] = daemon.query_restarts;
    row["intake_restarts"] = daemon.intake_restarts;
    row["last_event_unix"] = OrNull(daemon.last_event);
  }
  return row;
}

Json ClientRow(const ClientFacts& clients) {
  Json row = RowOf("clients");
  row["connections"] = clients.connections;
  row["active"] = clients.active;
  row["refused_user"] = clients.refused_user;
  row["refused_limit"] = clients.refused_limit;
  row["died"] = clients.died;
  return row;
}

Json RuleRow(const RuleFacts& rules) {
  Json row = RowOf("rules");
  row["known"] = rules.known;
  row["unnumbered"] = rules.unnumbered;
  row["forgotten"] = rules.forgotten;
  return row;
}

// Only what happened at all.
Json ReasonsOf(const std::vector<CountedReason>& reasons) {
  Json object = Json::object();
  for (const CountedReason& reason : reasons) {
    if (reason.count != 0) object[std::string(reason.word)] = reason.count;
  }
  return object;
}

Json SourceRow(const SourceReport& source) {
  Json row = RowOf("source");
  row["name"] = source.name;
  row["received"] = source.received;
  row["journaled"] = source.journaled;
  row["excluded"] = source.excluded;
  row["unrouted"] = source.unrouted;
  row["skipped"] = source.Skipped();
  row["skipped_by_reason"] = ReasonsOf(source.skipped);
  row["remarks"] = ReasonsOf(source.remarks);
  row["lost"] = source.Lost();
  row["lost_by_cause"] = {{"overrun", source.lost_overrun},
                          {"before_read", source.lost_before_read}};
  row["overruns"] = source.overruns;
  row["foreign"] = source.foreign;
  row["malformed"] = source.malformed;
  row["batches"] = source.batches;
  row["buffer_bytes"] = source.buffer_bytes;
  return row;
}

void AddForecast(Json& row, const JournalFile& file) {
  row["recent_records"] = file.recent ? Json(file.recent->records) : Json();
  row["recent_seconds"] = file.recent ? Json(file.recent->seconds) : Json();
  row["overwriting"] = file.IsOverwriting();
  row["seconds_to_overwriting"] = OrNull(file.SecondsToOverwriting());
  row["seconds_kept"] = OrNull(file.SecondsKept());
}

void AddFile(Json& row, const JournalFile& file) {
  row["format"] = FormatName(file.format);
  row["layout_version"] = file.layout_version;
  row["state"] = LifeWord(file.life);
  row["writer"] = file.writer;
  row["file_bytes"] = file.file_bytes;
  row["records"] = file.records;
  row["capacity"] = file.HasBound() ? Json(file.capacity) : Json();
  row["fill_percent"] = OrNull(file.FillPercent());
  row["oldest_unix"] = OrNull(file.oldest);
  row["newest_unix"] = OrNull(file.newest);
  AddForecast(row, file);
  row["appended"] = file.appended;
  row["merged"] = file.merged;
  row["events_per_record"] = OrNull(file.EventsPerRecord());
  row["overwritten"] = file.overwritten;
  row["damaged"] = file.damaged;
  row["lost"] = file.lost;
}

Json ActivityObject(const JournalActivity& activity) {
  return {{"events", activity.events},         {"packets", activity.packets},
          {"bytes", activity.bytes},           {"appended", OrNull(activity.appended)},
          {"merged", OrNull(activity.merged)}, {"adjusted_times", activity.adjusted_times},
          {"refused", activity.failed}};
}

Json JournalRow(const JournalReport& journal) {
  Json row = RowOf("journal");
  row["name"] = journal.name;
  if (journal.file) AddFile(row, *journal.file);
  row["since_start"] = journal.activity ? ActivityObject(*journal.activity) : Json();
  return row;
}

Json ExclusionRow(const ExclusionReport& exclusion) {
  Json row = RowOf("exclusion");
  row["name"] = exclusion.name;
  row["packets"] = exclusion.packets;
  row["bytes"] = exclusion.bytes;
  return row;
}

Json NameRow(const JournalName& name, const DaemonReport& report) {
  Json row = RowOf(name.is_group ? "group" : "interface");
  row["name"] = name.name;
  row["journal"] = name.group;
  row["served"] = name.is_served;
  if (!name.is_group) return row;
  row["window_seconds"] = name.window_seconds;
  const auto journal =
      std::find_if(report.journals.begin(), report.journals.end(),
                   [&name](const JournalReport& candidate) { return candidate.name == name.name; });
  if (journal != report.journals.end() && journal->file) {
    row["records"] = journal->file->records;
    row["capacity"] = journal->file->HasBound() ? Json(journal->file->capacity) : Json();
    row["oldest_unix"] = OrNull(journal->file->oldest);
    row["newest_unix"] = OrNull(journal->file->newest);
    row["changes"] = journal->file->next + journal->file->merged;
  }
  return row;
}

void AddLeftOut(const char* what, std::size_t count, std::vector<std::string>* rows) {
  if (count == 0) return;
  Json row = RowOf("left_out");
  row["of"] = what;
  row["rows"] = count;
  rows->push_back(TextOf(row));
}

void AddProblems(const std::vector<std::string>& problems, std::vector<std::string>* rows) {
  const std::size_t listed = std::min(problems.size(), kMostListedProblems);
  for (std::size_t i = 0; i < listed; ++i) {
    Json row = RowOf("problem");
    row["text"] = problems[i].substr(0, kLongestProblem);
    rows->push_back(TextOf(row));
  }
  AddLeftOut("problem", problems.size() - listed, rows);
}

}  // namespace

std::vector<std::string> StatusRows(const DaemonReport& report) {
  std::vector<std::string> rows = {TextOf(DaemonRow(report))};
  if (report.clients) rows.push_back(TextOf(ClientRow(*report.clients)));
  if (report.rules) rows.push_back(TextOf(RuleRow(*report.rules)));
  for (const SourceReport& source : report.sources) rows.push_back(TextOf(SourceRow(source)));
  const std::size_t listed = std::min(report.journals.size(), kMostListedNames);
  for (std::size_t i = 0; i < listed; ++i) rows.push_back(TextOf(JournalRow(report.journals[i])));
  AddLeftOut("journal", report.journals.size() - listed, &rows);
  for (const ExclusionReport& exclusion : report.exclusions) {
    rows.push_back(TextOf(ExclusionRow(exclusion)));
  }
  AddProblems(report.problems, &rows);
  return rows;
}

std::vector<std::string> JournalRows(const DaemonReport& report) {
  std::vector<std::string> rows;
  const std::size_t listed = std::min(report.names.size(), kMostListedNames);
  for (std::size_t i = 0; i < listed; ++i) rows.push_back(TextOf(NameRow(report.names[i], report)));
  AddLeftOut("name", report.names.size() - listed, &rows);
  AddProblems(report.problems, &rows);
  return rows;
}

}  // namespace packetdb::host
