#include "host/sources/prefix.h"

#include <array>
#include <charconv>
#include <optional>

#include "host/sources/event.h"

namespace packetdb::host {
namespace {

constexpr std::string_view kOwnForm = "pdb:";

struct VerdictName {
  std::string_view name;
  RuleOutcome outcome;
};
constexpr std::array<VerdictName, 3> kVerdicts = {{
    {"accept", {kCodeAccepted, Verdict::kAccept}},
    {"drop", {kCodeDropped, Verdict::kDrop}},
    {"reject", {kCodeRejected, Verdict::kReject}},
}};

std::optional<RuleOutcome> OutcomeOfVerdict(std::string_view name) {
  for (const VerdictName& verdict : kVerdicts) {
    if (verdict.name == name) return verdict.outcome;
  }
  return std::nullopt;
}

std::optional<std::uint32_t> ParseCode(std::string_view text) {
  std::uint32_t code = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, code);
  if (error != std::errc() || stop != end || code < 1 || code > kMaxPrefixCode) return std::nullopt;
  return code;
}

// Takes the text up to the next colon off the front of `rest`; the colon goes too. Empty when
// nothing is left.
std::string_view TakeField(std::string_view& rest) {
  const std::size_t colon = rest.find(':');
  const std::string_view field = rest.substr(0, colon);
  rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
  return field;
}

// `fields` is the prefix behind "pdb:".
std::optional<RuleOutcome> ParseOwnForm(std::string_view fields) {
  if (TakeField(fields).empty() || TakeField(fields).empty()) return std::nullopt;
  const bool has_code = fields.find(':') != std::string_view::npos;
  std::optional<RuleOutcome> outcome = OutcomeOfVerdict(TakeField(fields));
  if (!outcome || !has_code) return outcome;
  const std::optional<std::uint32_t> code = ParseCode(fields);
  if (!code) return std::nullopt;
  outcome->code = *code;
  return outcome;
}

}  // namespace

std::uint32_t VerdictFlag(Verdict verdict) {
  switch (verdict) {
    case Verdict::kAccept:
      return kFlagAccepted;
    case Verdict::kDrop:
      return kFlagDropped;
    case Verdict::kReject:
      return kFlagRejected;
    case Verdict::kNone:
      break;
  }
  return 0;
}

RuleOutcome Classify(std::string_view prefix, const RuleTable& rules, CaptureCounters& counters) {
  if (prefix.empty()) return {kCodeCaptured, Verdict::kNone};
  if (const auto rule = rules.find(prefix); rule != rules.end()) return rule->second;
  if (prefix.starts_with(kOwnForm)) {
    if (const auto outcome = ParseOwnForm(prefix.substr(kOwnForm.size()))) return *outcome;
    counters.Note(Remark::kMalformedPrefix);
  }
  return {kCodeLogged, Verdict::kNone};
}

}  // namespace packetdb::host
