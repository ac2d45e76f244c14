// What log prefixes mean: [[rule]].
#include <fmt/format.h>
#include <variant>

#include "host/config/flag_names.h"
#include "host/config/key_kinds.h"
#include "host/config/list_section.h"
#include "host/config/sections.h"
#include "host/config/spelling.h"
#include "host/config/text_rules.h"
#include "host/sources/event.h"

namespace packetdb::host {
namespace {

using Rule = RuleSettings;

constexpr std::size_t kLongestPrefix = 127;  // the kernel's, with a NUL behind it
constexpr std::size_t kLongestText = 255;
constexpr NumberRange kCodes{1, kMaxPrefixCode};

// "there is no event 'x'; did you mean 'y'?"
std::string NoSuchName(const char* what, const std::string& name, const NameTable& names) {
  std::vector<std::string> known;
  known.reserve(names.size());
  for (const auto& [each, value] : names) known.push_back(each);
  const auto nearest = NearestWord(name, known);
  return fmt::format("there is no {} of that name{}", what,
                     nearest ? fmt::format("; did you mean '{}'?", *nearest) : "");
}

std::optional<Refusal> ReadCode(const Node& node, const Reading& reading, Rule& rule) {
  const auto* const name = std::get_if<std::string>(&node.value);
  if (name == nullptr) {
    NumberOrWhy read = ReadNumber(node, kCodes);
    if (!read.number) return Refuse(node, std::move(read.why));
    rule.code = static_cast<std::uint32_t>(*read.number);
    return std::nullopt;
  }
  const NameTable& names = reading.names.event_names;
  const auto found = names.find(*name);
  if (found == names.end()) return Refuse(node, NoSuchName("event", *name, names));
  rule.code = found->second;
  return std::nullopt;
}

std::optional<std::string> AddFlag(const Node& element, const NameTable& names,
                                   std::uint32_t& flags) {
  const auto* const name = std::get_if<std::string>(&element.value);
  if (name == nullptr) return "";
  if (HostFlagNames().contains(*name)) {
    return "the daemon sets that itself, by the verdict and by the packet";
  }
  const auto found = names.find(*name);
  if (found == names.end()) return NoSuchName("flag", *name, names);
  if ((flags & found->second) != 0) return "it is there twice";
  flags |= found->second;
  return std::nullopt;
}

std::optional<Refusal> ReadFlags(const Node& node, const Reading& reading, Rule& rule) {
  std::uint32_t flags = 0;
  auto refusal = ReadList(
      node, [&](const Node& element) { return AddFlag(element, reading.names.flag_names, flags); });
  if (!refusal) rule.flags = flags;
  return refusal;
}

Key<Rule> CodeKey() {
  return {"code",
          fmt::format("{} or the name of an event", TakesNumber(kCodes)),
          "\"port-scan\"",
          "The event code.",
          Effect::kIntake,
          "by the verdict: 1 for drop, 2 for reject, 40 for accept, 3 for none",
          false,
          ReadCode,
          [](const Rule& rule, const Configuration&) {
            return rule.code == 0 ? std::string() : std::to_string(rule.code);
          }};
}

Key<Rule> FlagsKey() {
  return {"flags",
          "a list of names from [flags]",
          "[\"watched\"]",
          "Further flags of such an event.",
          Effect::kIntake,
          "",
          false,
          ReadFlags,
          [](const Rule& rule, const Configuration& configuration) {
            return QuotedList(NamesOfFlags(rule.flags, configuration.flag_names));
          }};
}

std::uint32_t CodeOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kAccept:
      return kCodeAccepted;
    case Verdict::kDrop:
      return kCodeDropped;
    case Verdict::kReject:
      return kCodeRejected;
    case Verdict::kNone:
      break;
  }
  return kCodeLogged;
}

std::string FillCode(Rule& rule) {
  if (rule.code == 0) rule.code = CodeOf(rule.verdict);
  return "";
}

}  // namespace

std::unique_ptr<Section> MakeRuleSection() {
  std::vector<Key<Rule>> keys;
  keys.push_back(TextKey("prefix", &Rule::prefix, PlainText(1, kLongestPrefix, "ssh-in*"),
                         "The log prefix, as the rule of the packet filter has it, blanks "
                         "included. * stands for any text, ? for any character.",
                         Effect::kIntake));
  keys.back().required = true;
  keys.push_back(CodeKey());
  keys.push_back(ChoiceKey<Rule, Verdict>("verdict", &Rule::verdict,
                                          {{"none", Verdict::kNone},
                                           {"accept", Verdict::kAccept},
                                           {"drop", Verdict::kDrop},
                                           {"reject", Verdict::kReject}},
                                          "What the rule does with the packet.", Effect::kIntake));
  keys.push_back(FlagsKey());
  keys.push_back(TextKey("text", &Rule::text, PlainText(0, kLongestText, "ssh from outside"),
                         "What people shall read beside an event of this rule.", Effect::kIntake));
  return std::make_unique<ListSection<Rule>>(
      "rule",
      "What a log prefix means. Prefixes of the form `pdb:<chain>:<rule>:<verdict>` need none.",
      ListTraits<Rule>{&Configuration::rules, kMostRules, "prefix", Effect::kIntake, FillCode},
      std::move(keys));
}

}  // namespace packetdb::host
