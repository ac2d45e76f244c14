#include <algorithm>
#include <fmt/format.h>

#include "host/cli/status_tables.h"
#include "host/cli/text_table.h"
#include "host/times/time_text.h"

namespace packetdb::host {

namespace {

std::string FillCell(const OrderedJson& journal) {
  const std::string percent = CellOf(journal, "fill_percent");
  return percent == "-" ? percent : percent + " %";
}

// What a full journal overwrites is gone already: then it says how long it keeps a record.
std::string ForecastCell(const OrderedJson& journal) {
  if (!journal.contains("capacity")) {
    return "-";
  }
  if (journal["capacity"].is_null()) {
    return "never";
  }
  const auto kept = NumberOf(journal, "seconds_kept");
  const auto left = NumberOf(journal, "seconds_to_overwriting");
  if (left == std::optional<std::uint64_t>(0)) {
    return kept ? fmt::format("now, after {}", DurationText(*kept)) : "now";
  }
  return left ? fmt::format("in {}", DurationText(*left)) : "unknown";
}

void PrintFiles(const ToldRows& journals, std::FILE* out) {
  TextTable table({{"JOURNAL"},
                   {"RECORDS", true},
                   {"CAPACITY", true},
                   {"FULL", true},
                   {"FILE", true},
                   {"STATE"},
                   {"OLDEST"},
                   {"NEWEST"},
                   {"OVERWRITES"}});
  for (const OrderedJson& journal : journals) {
    table.Add({CellOf(journal, "name"), CellOf(journal, "records"), CellOf(journal, "capacity"),
               FillCell(journal), BytesCell(journal, "file_bytes"), CellOf(journal, "state"),
               TimeCell(journal, "oldest_unix"), TimeCell(journal, "newest_unix"),
               ForecastCell(journal)});
  }
  table.Print(out);
}

void PrintHistory(const ToldRows& journals, std::FILE* out) {
  TextTable table({{"EVER"},
                   {"APPENDED", true},
                   {"MERGED", true},
                   {"EVENTS A RECORD", true},
                   {"OVERWRITTEN", true},
                   {"DAMAGED", true},
                   {"LOST", true}});
  for (const OrderedJson& journal : journals) {
    table.Add({CellOf(journal, "name"), CellOf(journal, "appended"), CellOf(journal, "merged"),
               CellOf(journal, "events_per_record"), CellOf(journal, "overwritten"),
               CellOf(journal, "damaged"), CellOf(journal, "lost")});
  }
  table.Print(out);
}

void PrintActivity(const ToldRows& journals, std::FILE* out) {
  TextTable table({{"SINCE START"},
                   {"EVENTS", true},
                   {"PACKETS", true},
                   {"BYTES", true},
                   {"APPENDED", true},
                   {"MERGED", true},
                   {"TIME ADJUSTED", true},
                   {"REFUSED", true}});
  for (const OrderedJson& journal : journals) {
    const OrderedJson& activity = PartOf(journal, "since_start");
    if (activity.is_object()) {
      table.Add({CellOf(journal, "name"), CellOf(activity, "events"), CellOf(activity, "packets"),
                 BytesCell(activity, "bytes"), CellOf(activity, "appended"),
                 CellOf(activity, "merged"), CellOf(activity, "adjusted_times"),
                 CellOf(activity, "refused")});
    }
  }
  if (!table.empty()) {
    std::fputs("\n", out);
    table.Print(out);
  }
}

// A group answers for all of its interfaces, an interface for itself.
std::string ServedCell(const OrderedJson& row) {
  const OrderedJson& is_served = PartOf(row, "served");
  return is_served == true ? "yes" : "no: another has that name";
}

}  // namespace

void PrintJournalTables(const ToldRows& journals, std::FILE* out) {
  std::fputs("\n", out);
  if (journals.empty()) {
    std::fputs("no journals\n", out);
    return;
  }
  PrintFiles(journals, out);
  std::fputs("\n", out);
  PrintHistory(journals, out);
  PrintActivity(journals, out);
}

void PrintProblems(const ToldRows& rows, std::FILE* out) {
  const ToldRows problems = OfKind(rows, "problem");
  const ToldRows left_out = OfKind(rows, "left_out");
  if (!problems.empty() || !left_out.empty()) {
    std::fputs("\n", out);
  }
  for (const OrderedJson& problem : problems) {
    std::fputs(fmt::format("problem: {}\n", CellOf(problem, "text")).c_str(), out);
  }
  for (const OrderedJson& row : left_out) {
    std::fputs(
        fmt::format("left out: {} more of the kind {}\n", CellOf(row, "rows"), CellOf(row, "of"))
            .c_str(),
        out);
  }
}

void PrintJournalsTable(const ToldRows& rows, std::FILE* out) {
  TextTable table(
      {{"NAME"}, {"KIND"}, {"JOURNAL"}, {"SERVED"}, {"RECORDS", true}, {"OLDEST"}, {"NEWEST"}});
  for (const OrderedJson& row : rows) {
    if (row["kind"] == "group" || row["kind"] == "interface") {
      table.Add({CellOf(row, "name"), CellOf(row, "kind"), CellOf(row, "journal"), ServedCell(row),
                 CellOf(row, "records"), TimeCell(row, "oldest_unix"),
                 TimeCell(row, "newest_unix")});
    }
  }
  if (table.empty()) {
    std::fputs("no journals\n", out);
  } else {
    table.Print(out);
  }
  PrintProblems(rows, out);
}

}  // namespace packetdb::host
