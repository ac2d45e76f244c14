#include "host/cli/check_report.h"

#include <fmt/format.h>

#include "host/cli/check_command.h"
#include "host/cli/json_text.h"
#include "host/log/escape.h"

namespace packetdb::host {

namespace {

std::string_view Word(Severity severity) {
  switch (severity) {
    case Severity::kNote:
      return "note";
    case Severity::kWarning:
      return "warning";
    default:
      return "damage";
  }
}

OrderedJson ObjectOf(const Finding& finding) {
  OrderedJson object;
  object["position"] = finding.position;
  object["severity"] = Word(finding.severity);
  object["kind"] = finding.kind;
  object["text"] = finding.text;
  return object;
}

std::string Counted(std::uint64_t number, std::string_view noun) {
  return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

}  // namespace

void CheckReport::Add(const Finding& finding) {
  ++counts_[static_cast<std::size_t>(finding.severity)];
  if (findings_.size() < kMostFindings) {
    findings_.push_back(finding);
  }
}

void CheckReport::SetRecords(JournalFormat format, const RecordsChecked& checked) {
  format_ = format;
  checked_ = checked;
}

std::uint64_t CheckReport::Count(Severity severity) const {
  return counts_[static_cast<std::size_t>(severity)];
}

std::string CheckReport::Verdict() const {
  if (damaged()) {
    return "damaged";
  }
  return writer_ ? "no damage, but a writer has it open" : "clean";
}

std::string CheckReport::RecordsRead() const {
  if (!format_) {
    return "its records were not read";
  }
  std::string text =
      fmt::format("{} of format {} read", Counted(checked_.whole, "record"), FormatName(*format_));
  if (checked_.gone != 0) {
    text += fmt::format(", {} overwritten meanwhile", checked_.gone);
  }
  return text;
}

void CheckReport::PrintText(std::FILE* out) const {
  std::uint64_t left_out = counts_[0] + counts_[1] + counts_[2];
  for (const Finding& finding : findings_) {
    fmt::print(out, "byte {:<10} {:<7} {}: {}\n", finding.position, Word(finding.severity),
               finding.kind, finding.text);
    --left_out;
  }
  if (left_out != 0) {
    fmt::print(out, "and {} more\n", left_out);
  }
  fmt::print(out, "{}: {}: {}, {}, {}; {}\n", EscapeForLog(path_), Verdict(),
             fmt::format("{} damaged", Counted(Count(Severity::kDamage), "place")),
             Counted(Count(Severity::kWarning), "warning"), Counted(Count(Severity::kNote), "note"),
             RecordsRead());
}

void CheckReport::PrintJson(std::FILE* out) const {
  OrderedJson object;
  object["file"] = path_;
  object["result"] = damaged() ? "damaged" : writer_ ? "in_use" : "clean";
  object["writer"] = writer_;
  object["format"] = format_ ? OrderedJson(FormatName(*format_)) : OrderedJson();
  object["records_read"] = checked_.whole;
  object["records_overwritten"] = checked_.gone;
  object["records_unstable"] = checked_.unstable;
  object["damage"] = Count(Severity::kDamage);
  object["warnings"] = Count(Severity::kWarning);
  object["notes"] = Count(Severity::kNote);
  object["findings"] = OrderedJson::array();
  for (const Finding& finding : findings_) {
    object["findings"].push_back(ObjectOf(finding));
  }
  object["findings_left_out"] = counts_[0] + counts_[1] + counts_[2] - findings_.size();
  std::fputs(JsonLine(object).c_str(), out);
}

}  // namespace packetdb::host
