#include "host/cli/rules_report.h"

#include <fmt/format.h>

#include "host/cli/json_text.h"
#include "host/cli/report.h"
#include "host/log/escape.h"

namespace packetdb::host {

namespace {

OrderedJson PlaceObject(const RulePlace& place) {
  OrderedJson object;
  object["family"] = place.family;
  object["table"] = place.table;
  object["chain"] = place.chain;
  object["handle"] = place.handle ? OrderedJson(*place.handle) : OrderedJson();
  return object;
}

OrderedJson FindingObject(const RuleFinding& finding) {
  OrderedJson object;
  object["kind"] = finding.kind;
  object["where"] = OrderedJson::array();
  for (const RulePlace& place : finding.places) {
    object["where"].push_back(PlaceObject(place));
  }
  object["what"] = finding.what;
  object["advice"] = finding.advice;
  return object;
}

void PrintLintJson(const LintResult& result, std::FILE* out) {
  OrderedJson object;
  object["findings"] = OrderedJson::array();
  for (const RuleFinding& finding : result.findings) {
    object["findings"].push_back(FindingObject(finding));
  }
  object["notes"] = result.notes;
  std::fputs(JsonLine(object).c_str(), out);
}

void PrintFinding(const RuleFinding& finding, std::FILE* out) {
  fmt::print(out, "{}: {}\n", finding.kind, EscapeForLog(finding.what));
  for (const RulePlace& place : finding.places) {
    fmt::print(out, "  at  {}\n", EscapeForLog(PlaceText(place)));
  }
  fmt::print(out, "  do  {}\n", EscapeForLog(finding.advice));
}

}  // namespace

void PrintLint(const LintResult& result, OutputFormat format, std::FILE* out) {
  if (format == OutputFormat::kJson) {
    PrintLintJson(result, out);
    return;
  }
  for (const RuleFinding& finding : result.findings) {
    PrintFinding(finding, out);
  }
  for (const std::string& note : result.notes) {
    Complain("note: " + note);
  }
}

}  // namespace packetdb::host
