#include <fmt/format.h>
#include <map>

#include "host/rules/checks.h"
#include "host/rules/own_form.h"

namespace packetdb::host {
namespace {

// nftables has room for so many bytes; iptables, for less, cuts none that nft lists.
constexpr std::size_t kLongestPrefix = 127;

std::optional<Verdict> VerdictOf(RuleEnd end) {
  switch (end) {
    case RuleEnd::kAccept:
      return Verdict::kAccept;
    case RuleEnd::kDrop:
      return Verdict::kDrop;
    case RuleEnd::kReject:
      return Verdict::kReject;
    default:
      return std::nullopt;
  }
}

void Add(Findings& findings, const char* kind, const FoundLog& found, std::string what,
         std::string advice) {
  findings.push_back({kind, {found.rule->place}, std::move(what), std::move(advice)});
}

// The rule's packets that packetdbd would journal under its prefix: journals hold no IPv6.
bool IsJournaled(const FoundLog& found, const LintSettings& settings) {
  return IsRead(*found.log, settings) && !found.log->scope.is_ipv6;
}

}  // namespace

void CheckForms(const std::vector<FoundLog>& logs, const LintSettings& settings,
                Findings& findings) {
  for (const FoundLog& found : logs) {
    const std::string& prefix = found.log->prefix;
    if (!LooksLikeOwnForm(prefix) || settings.is_configured(prefix)) continue;
    const std::string mistake = OwnFormMistake(prefix);
    if (mistake.empty()) continue;
    Add(findings, "malformed-prefix", found,
        fmt::format("the prefix {} is not of packetdb's form: {}", QuotedPrefix(prefix), mistake),
        "write pdb:<chain>:<rule>:<verdict>, with accept, drop or reject and nothing behind it but "
        "a code");
  }
}

void CheckVerdicts(const std::vector<FoundLog>& logs, const LintSettings& settings,
                   Findings& findings) {
  for (const FoundLog& found : logs) {
    const std::string& prefix = found.log->prefix;
    const auto said = OwnFormVerdict(prefix);
    const auto done = VerdictOf(found.rule->end);
    if (!said || !done || *said == *done || !found.log->is_decided) continue;
    if (settings.is_configured(prefix)) continue;
    Add(findings, "wrong-verdict", found,
        fmt::format("the prefix {} says {}, but the rule's verdict is {}", QuotedPrefix(prefix),
                    VerdictWord(*said), VerdictWord(*done)),
        fmt::format("end the prefix in :{}; the journal believes the prefix", VerdictWord(*done)));
  }
}

void CheckSamePrefixes(const std::vector<FoundLog>& logs, const LintSettings& settings,
                       Findings& findings) {
  std::map<std::string, std::vector<RulePlace>> places;
  std::vector<std::string> in_order;
  for (const FoundLog& found : logs) {
    const std::string& prefix = found.log->prefix;
    if (prefix.empty() || !IsJournaled(found, settings)) continue;
    std::vector<RulePlace>& same = places[prefix];
    if (same.empty()) in_order.push_back(prefix);
    same.push_back(found.rule->place);
  }
  for (const std::string& prefix : in_order) {
    const std::vector<RulePlace>& same = places[prefix];
    if (same.size() < 2) continue;
    findings.push_back({"same-prefix", same,
                        fmt::format("{} rules have the prefix {}: their rows cannot be told apart",
                                    same.size(), QuotedPrefix(prefix)),
                        "give each rule a prefix of its own"});
  }
}

void CheckMissingPrefixes(const std::vector<FoundLog>& logs, const LintSettings& settings,
                          Findings& findings) {
  for (const FoundLog& found : logs) {
    if (!found.log->prefix.empty() || !IsJournaled(found, settings)) continue;
    Add(findings, "no-prefix", found,
        "it logs without a prefix: its rows tell neither the rule nor the verdict",
        "add log prefix \"pdb:<chain>:<rule>:<verdict>\"");
  }
}

void CheckPrefixLengths(const std::vector<FoundLog>& logs, Findings& findings) {
  for (const FoundLog& found : logs) {
    const std::size_t length = found.log->prefix.size();
    if (length <= kLongestPrefix) continue;
    Add(findings, "long-prefix", found,
        fmt::format("the prefix has {} bytes, and the kernel takes {}", length, kLongestPrefix),
        fmt::format("shorten it to {} bytes, or to 63 for iptables", kLongestPrefix));
  }
}

}  // namespace packetdb::host
