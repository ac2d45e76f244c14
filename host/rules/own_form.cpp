#include "host/rules/own_form.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

#include "host/log/escape.h"
#include "host/sources/counters.h"

namespace packetdb::host {
namespace {

constexpr std::string_view kStart = "pdb:";

std::string Quoted(std::string_view text) { return "'" + EscapeForLog(text) + "'"; }

std::vector<std::string_view> Fields(std::string_view text) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t colon = text.find(':');
    fields.push_back(text.substr(0, colon));
    if (colon == std::string_view::npos) return fields;
    text.remove_prefix(colon + 1);
  }
}

bool IsVerdict(std::string_view word) {
  return word == VerdictWord(Verdict::kAccept) || word == VerdictWord(Verdict::kDrop) ||
         word == VerdictWord(Verdict::kReject);
}

std::string MistakeInFields(const std::vector<std::string_view>& fields) {
  if (fields.size() < 4) return "it has no verdict: pdb:<chain>:<rule>:<verdict>";
  if (fields[1].empty()) return "the chain is empty";
  if (fields[2].empty()) return "the rule is empty";
  if (!IsVerdict(fields[3])) {
    return "the verdict is " + Quoted(fields[3]) + ", and not accept, drop or reject";
  }
  if (fields.size() > 5) return "something follows the code";
  return "the code is " + Quoted(fields[4]) + ", and no number from 1 to " +
         std::to_string(kMaxPrefixCode);
}

}  // namespace

std::string_view VerdictWord(Verdict verdict) {
  switch (verdict) {
    case Verdict::kAccept:
      return "accept";
    case Verdict::kDrop:
      return "drop";
    case Verdict::kReject:
      return "reject";
    case Verdict::kNone:
      break;
  }
  return "none";
}

bool LooksLikeOwnForm(std::string_view prefix) {
  prefix.remove_prefix(std::min(prefix.find_first_not_of(" \t\"'"), prefix.size()));
  const auto is_same = [](char one, char other) {
    return std::tolower(static_cast<unsigned char>(one)) == other;
  };
  return prefix.size() >= kStart.size() &&
         std::equal(kStart.begin(), kStart.end(), prefix.begin(),
                    [&](char wanted, char got) { return is_same(got, wanted); });
}

std::optional<Verdict> OwnFormVerdict(std::string_view prefix) {
  if (!prefix.starts_with(kStart)) return std::nullopt;
  CaptureCounters ignored;
  const RuleOutcome outcome = Classify(prefix, {}, ignored);
  if (outcome.verdict == Verdict::kNone) return std::nullopt;
  return outcome.verdict;
}

std::string OwnFormMistake(std::string_view prefix) {
  if (OwnFormVerdict(prefix)) return "";
  if (!prefix.starts_with(kStart)) return "it does not start with 'pdb:' to the letter";
  return MistakeInFields(Fields(prefix));
}

}  // namespace packetdb::host
