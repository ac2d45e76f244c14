#include "host/cli/import_summary.h"

#include <fmt/format.h>
#include <string>
#include <string_view>

#include "host/cli/counted.h"

namespace packetdb::host {

namespace {

void PrintReason(std::uint64_t packets, std::string_view text, std::FILE* out) {
  if (packets != 0) {
    fmt::print(out, "  {:>10}  {}\n", packets, text);
  }
}

void PrintSkipped(const CaptureCounters& counters, std::FILE* out) {
  if (counters.skipped() == 0) {
    return;
  }
  fmt::print(out, "not journaled: {}\n", Counted(counters.skipped(), "packet"));
  for (std::size_t i = 0; i < kSkipReasons; ++i) {
    const auto reason = static_cast<SkipReason>(i);
    PrintReason(counters.skipped(reason), Text(reason), out);
  }
}

void PrintRemarks(const ImportSummary& summary, std::FILE* out) {
  std::uint64_t remarks = summary.times_adjusted;
  for (std::size_t i = 0; i < kRemarks; ++i) {
    remarks += summary.counters.noted(static_cast<Remark>(i));
  }
  if (remarks == 0) {
    return;
  }
  fmt::print(out, "journaled with a remark:\n");
  for (std::size_t i = 0; i < kRemarks; ++i) {
    const auto remark = static_cast<Remark>(i);
    PrintReason(summary.counters.noted(remark), Text(remark), out);
  }
  PrintReason(summary.times_adjusted,
              "older than the newest event before: journaled at that event's time", out);
}

}  // namespace

void PrintSummary(const ImportSummary& summary, std::FILE* out) {
  const CaptureCounters& counters = summary.counters;
  fmt::print(out, "{}, {}: {} journaled in group {}\n", Counted(summary.captures, "capture"),
             Counted(counters.packets(), "packet"), Counted(counters.events(), "event"),
             summary.group);
  fmt::print(out, "{} added, {} merged into them within {} s; the journal holds {}\n",
             Counted(summary.records_added, "record"),
             Counted(counters.events() - summary.records_added, "repeat"), summary.window_seconds,
             Counted(static_cast<std::uint64_t>(summary.records_kept), "record"));
  PrintSkipped(counters, out);
  PrintRemarks(summary, out);
}

}  // namespace packetdb::host
