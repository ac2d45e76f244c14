#include "host/cli/check_report.h"

#include <fmt/format.h>

#include "host/cli/check_command.h"
#include "host/cli/counted.h"
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

// The gravest first, as they are listed.
constexpr std::array kSeverities = {Severity::kDamage, Severity::kWarning, Severity::kNote};

}  // namespace

void CheckReport::Add(const Finding& finding) {
  const auto severity = static_cast<std::size_t>(finding.severity);
  ++counts_[severity];
  if (findings_[severity].size() < kMostFindings) {
    findings_[severity].push_back(finding);
  }
}

void CheckReport::SetRecords(JournalFormat format, const RecordsChecked& checked) {
  format_ = format;
  checked_ = checked;
  writer_ = writer_ || checked.gone != 0;  // nobody else overwrites records
}

std::uint64_t CheckReport::Count(Severity severity) const {
  return counts_[static_cast<std::size_t>(severity)];
}

std::uint64_t CheckReport::LeftOut(Severity severity) const {
  return Count(severity) - findings_[static_cast<std::size_t>(severity)].size();
}

std::string CheckReport::Counts() const {
  return fmt::format("{} damaged, {}, {}", Counted(Count(Severity::kDamage), "place"),
                     Counted(Count(Severity::kWarning), "warning"),
                     Counted(Count(Severity::kNote), "note"));
}

std::string CheckReport::Verdict() const {
  if (damaged()) {
    return "damaged: " + Counts();
  }
  if (writer_) {
    return "no damage, but a writer has it open: " + Counts();
  }
  const std::uint64_t warnings = Count(Severity::kWarning);
  return warnings == 0 ? "clean: " + Counts()
                       : fmt::format("no damage, {}, {}", Counted(warnings, "warning"),
                                     Counted(Count(Severity::kNote), "note"));
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
  if (checked_.damaged != 0) {
    text += fmt::format(", {} damaged", checked_.damaged);
  }
  if (checked_.lost != 0) {
    text += fmt::format(", {} lost", checked_.lost);
  }
  if (checked_.missing != 0) {
    text += fmt::format(", {} beyond the end of the file", checked_.missing);
  }
  return text;
}

// By fputs, which lets FlushOutput tell of a failure.
void CheckReport::PrintFindings(Severity severity, std::FILE* out) const {
  for (const Finding& finding : findings_[static_cast<std::size_t>(severity)]) {
    const std::string line = fmt::format("byte {:<10} {:<7} {}: {}\n", finding.position,
                                         Word(severity), finding.kind, finding.text);
    std::fputs(line.c_str(), out);
  }
  if (const std::uint64_t more = LeftOut(severity); more != 0) {
    std::fputs(fmt::format("and {} more: {}\n", more, Word(severity)).c_str(), out);
  }
}

void CheckReport::PrintText(std::FILE* out) const {
  for (const Severity severity : kSeverities) {
    PrintFindings(severity, out);
  }
  const std::string line =
      fmt::format("{}: {}; {}\n", EscapeForLog(path_), Verdict(), RecordsRead());
  std::fputs(line.c_str(), out);
}

void CheckReport::PrintJson(std::FILE* out) const {
  OrderedJson object;
  object["file"] = path_;
  object["result"] = damaged() ? "damaged" : writer_ ? "in_use" : "clean";
  object["writer"] = writer_;
  object["format"] = format_ ? OrderedJson(FormatName(*format_)) : OrderedJson();
  object["records_read"] = checked_.whole;
  object["records_overwritten"] = checked_.gone;
  object["records_damaged"] = checked_.damaged;
  object["records_lost"] = checked_.lost;
  object["records_missing"] = checked_.missing;
  object["damage"] = Count(Severity::kDamage);
  object["warnings"] = Count(Severity::kWarning);
  object["notes"] = Count(Severity::kNote);
  object["findings"] = OrderedJson::array();
  std::uint64_t left_out = 0;
  for (const Severity severity : kSeverities) {
    for (const Finding& finding : findings_[static_cast<std::size_t>(severity)]) {
      object["findings"].push_back(ObjectOf(finding));
    }
    left_out += LeftOut(severity);
  }
  object["findings_left_out"] = left_out;
  std::fputs(JsonLine(object).c_str(), out);
}

}  // namespace packetdb::host
