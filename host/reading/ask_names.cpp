#include "host/reading/ask_names.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "host/bus/commands.h"
#include "host/intake/rule_line.h"
#include "host/reading/told_objects.h"

namespace packetdb::host {

namespace {

// More than any daemon has: what goes on for ever must not cost all memory.
constexpr std::size_t kMostObjects = 1'000'000;

std::optional<std::uint32_t> SmallNumberUnder(const ToldObject& object, const char* key) {
  const auto number = NumberUnder(object, key);
  const bool fits = number && *number >= 0 && *number <= std::numeric_limits<std::uint32_t>::max();
  return fits ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

class NamesHeard {
 public:
  void Take(std::string_view kind, const ToldObject& object) {
    if (++objects_ > kMostObjects) {
      return;
    }
    if (kind == "event") {
      TakeName(object, "code", &events_);
    } else if (kind == "node") {
      TakeName(object, "id", &nodes_);
    } else if (kind == "flag") {
      TakeFlag(object);
    } else if (kind == "rule") {
      TakeRule(object);
    }
  }

  Names Finish() const {
    Names names;
    if (!events_.empty()) {
      names.SetEvents(events_);
    }
    if (!flags_.empty()) {
      names.SetFlags(flags_);
    }
    names.SetNodes(nodes_);
    if (!rules_.empty()) {
      names.SetRules(
          RuleDictionary::Parse(std::string(kRuleDictionaryTitle) + '\n' + rules_, "the daemon"));
    }
    return names;
  }

 private:
  static void TakeName(const ToldObject& object, const char* key, NameTable* names) {
    const auto name = TextUnder(object, "name");
    const auto number = SmallNumberUnder(object, key);
    if (name && number) {
      names->emplace(*name, *number);
    }
  }

  void TakeFlag(const ToldObject& object) {
    const auto bits = SmallNumberUnder(object, "bits");
    if (bits && std::has_single_bit(*bits)) {
      TakeName(object, "bits", &flags_);
    }
  }

  // As a line of the dictionary's file: whoever reads that also looks whether it makes sense. Bytes
  // that were no UTF-8 have become longer on their way.
  void TakeRule(const ToldObject& object) {
    RuleEntry entry;
    entry.number = SmallNumberUnder(object, "number").value_or(0);
    entry.since = NumberUnder(object, "since_unix").value_or(0);
    entry.meaning.code = SmallNumberUnder(object, "code").value_or(0);
    entry.meaning.flags = SmallNumberUnder(object, "flags").value_or(0);
    const auto verdict = RuleVerdictOf(TextUnder(object, "verdict").value_or(""));
    entry.meaning.verdict = verdict.value_or(Verdict::kNone);
    entry.prefix = TextUnder(object, "prefix").value_or("").substr(0, kLongestRulePrefix);
    entry.meaning.text = TextUnder(object, "text").value_or("").substr(0, kLongestRuleText);
    rules_ += RuleLine(entry) + '\n';
  }

  std::size_t objects_ = 0;
  NameTable events_;
  NameTable flags_;
  NameTable nodes_;
  std::string rules_;
};

}  // namespace

Names AskForNames(Connection& connection) {
  NamesHeard heard;
  AskForObjects(
      connection, kCommandNames,
      [&heard](std::string_view kind, const ToldObject& object) { heard.Take(kind, object); });
  return heard.Finish();
}

}  // namespace packetdb::host
