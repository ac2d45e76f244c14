#include "host/cli/status_tables.h"

#include <fmt/format.h>

#include "host/cli/text_line.h"
#include "host/cli/text_table.h"
#include "host/times/time_text.h"

namespace packetdb::host {

namespace {

std::string DurationCell(const OrderedJson& row, const std::string& key) {
  const auto seconds = NumberOf(row, key);
  return seconds ? DurationText(*seconds) : "-";
}

void PrintDaemon(const OrderedJson& daemon, std::FILE* out) {
  PrintLine(out, "packetdbd",
            fmt::format("{}, library {}, journal format {} (layout {}), bus protocol {}",
                        CellOf(daemon, "version"), CellOf(daemon, "library"),
                        CellOf(daemon, "journal_format"), CellOf(daemon, "layout_version"),
                        CellOf(daemon, "bus_protocol")));
  if (!NumberOf(daemon, "started_unix")) {
    PrintLine(out, "running", "without supervision: only the journals are told of");
    return;
  }
  PrintLine(out, "running",
            fmt::format("{}, since {}", DurationCell(daemon, "uptime_seconds"),
                        TimeCell(daemon, "started_unix")));
  PrintLine(out, "reloads",
            fmt::format("{} done, {} refused", CellOf(daemon, "reloads"),
                        CellOf(daemon, "failed_reloads")));
  PrintLine(out, "restarts",
            fmt::format("{} of the query process, {} of intake", CellOf(daemon, "query_restarts"),
                        CellOf(daemon, "intake_restarts")));
  PrintLine(out, "last event", TimeCell(daemon, "last_event_unix"));
}

void PrintClients(const OrderedJson& clients, std::FILE* out) {
  PrintLine(out, "clients",
            fmt::format("{} connected, {} so far; refused: {} not allowed, {} too many; {} died",
                        CellOf(clients, "active"), CellOf(clients, "connections"),
                        CellOf(clients, "refused_user"), CellOf(clients, "refused_limit"),
                        CellOf(clients, "died")));
}

void PrintRules(const OrderedJson& rules, std::FILE* out) {
  PrintLine(
      out, "rules",
      fmt::format("{} known; {} events without their number, {} times too many at once",
                  CellOf(rules, "known"), CellOf(rules, "unnumbered"), CellOf(rules, "forgotten")));
}

// "nflog:5 skipped: 2 ipv6, 1 arp"; nothing when there are none.
void PrintReasons(const OrderedJson& source, const std::string& key, const char* what,
                  std::FILE* out) {
  std::string list;
  for (const auto& [word, count] : PartOf(source, key).items()) {
    if (count.is_number_unsigned() && count.get<std::uint64_t>() != 0) {
      list += fmt::format("{} {} {}", list.empty() ? "" : ",", count.dump(), word);
    }
  }
  if (!list.empty()) {
    std::fputs(fmt::format("{} {}:{}\n", CellOf(source, "name"), what, list).c_str(), out);
  }
}

void PrintSources(const ToldRows& sources, std::FILE* out) {
  TextTable table({{"SOURCE"},
                   {"RECEIVED", true},
                   {"JOURNALED", true},
                   {"EXCLUDED", true},
                   {"NO JOURNAL", true},
                   {"SKIPPED", true},
                   {"LOST", true},
                   {"OVERRUNS", true},
                   {"BUFFER", true}});
  for (const OrderedJson& source : sources) {
    table.Add({CellOf(source, "name"), CellOf(source, "received"), CellOf(source, "journaled"),
               CellOf(source, "excluded"), CellOf(source, "unrouted"), CellOf(source, "skipped"),
               CellOf(source, "lost"), CellOf(source, "overruns"),
               BytesCell(source, "buffer_bytes")});
  }
  std::fputs("\n", out);
  table.Print(out);
  for (const OrderedJson& source : sources) {
    PrintReasons(source, "lost_by_cause", "lost", out);
    PrintReasons(source, "skipped_by_reason", "skipped", out);
    PrintReasons(source, "remarks", "remarks", out);
  }
}

void PrintExclusions(const ToldRows& exclusions, std::FILE* out) {
  TextTable table({{"EXCLUSION"}, {"PACKETS", true}, {"BYTES", true}});
  for (const OrderedJson& exclusion : exclusions) {
    table.Add(
        {CellOf(exclusion, "name"), CellOf(exclusion, "packets"), BytesCell(exclusion, "bytes")});
  }
  std::fputs("\n", out);
  table.Print(out);
}

}  // namespace

void PrintStatusTables(const ToldRows& rows, std::FILE* out) {
  for (const OrderedJson& daemon : OfKind(rows, "daemon")) {
    PrintDaemon(daemon, out);
  }
  for (const OrderedJson& clients : OfKind(rows, "clients")) {
    PrintClients(clients, out);
  }
  for (const OrderedJson& rules : OfKind(rows, "rules")) {
    PrintRules(rules, out);
  }
  if (const ToldRows sources = OfKind(rows, "source"); !sources.empty()) {
    PrintSources(sources, out);
  }
  PrintJournalTables(OfKind(rows, "journal"), out);
  if (const ToldRows exclusions = OfKind(rows, "exclusion"); !exclusions.empty()) {
    PrintExclusions(exclusions, out);
  }
  PrintProblems(rows, out);
}

}  // namespace packetdb::host
