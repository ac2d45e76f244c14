#include "host/daemon/names_rows.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/intake/rule_line.h"
#include "host/sources/event.h"
#include "host/status/status_json.h"

namespace packetdb::host {

namespace {

using NameObject = nlohmann::ordered_json;

// Puts objects one behind the other into rows.
class RowFiller {
 public:
  void Add(const NameObject& object) {
    constexpr int kOneLine = -1;
    // Prefixes and texts of rules are any bytes.
    const std::string line =
        object.dump(kOneLine, ' ', false, NameObject::error_handler_t::replace) + '\n';
    if (rows_.empty() || rows_.back().size() + line.size() > kNamesRowBytes) {
      rows_.emplace_back();
    }
    rows_.back() += line;
  }
  void AddLeftOut(const char* what, std::size_t count) {
    if (count != 0) {
      Add({{"kind", "left_out"}, {"of", what}, {"rows", count}});
    }
  }
  std::vector<std::string> Take() && { return std::move(rows_); }

 private:
  std::vector<std::string> rows_;
};

// Several networks may be one node.
void AddNodes(const std::vector<NodeSettings>& nodes, RowFiller& rows) {
  std::map<std::uint32_t, const std::string*> names;
  for (const NodeSettings& node : nodes) {
    names.try_emplace(node.id, &node.name);
  }
  for (const auto& [id, name] : names) {
    rows.Add({{"kind", "node"}, {"id", id}, {"name", *name}});
  }
}

NameObject RuleObject(const RuleEntry& entry) {
  return {{"kind", "rule"},
          {"number", entry.number},
          {"since_unix", entry.since},
          {"code", entry.meaning.code},
          {"verdict", RuleVerdictWord(entry.meaning.verdict)},
          {"flags", entry.meaning.flags},
          {"prefix", entry.prefix},
          {"text", entry.meaning.text}};
}

// How many lines of each number can be told.
std::size_t LinesPerNumber(const std::vector<RuleEntry>& entries) {
  if (entries.size() <= kMostToldRules) {
    return entries.size();
  }
  std::size_t numbers = 1;
  for (std::size_t i = 1; i < entries.size(); ++i) {
    numbers += entries[i].number != entries[i - 1].number ? 1 : 0;
  }
  static_assert(kMostToldRules > kHighestRule, "every number has one");
  return kMostToldRules / numbers;
}

// Lines are by number, the oldest of each first.
void AddRules(const std::vector<RuleEntry>& entries, RowFiller& rows) {
  const std::size_t most = LinesPerNumber(entries);
  std::size_t left_out = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries.size() - i > most && entries[i + most].number == entries[i].number) {
      ++left_out;
    } else {
      rows.Add(RuleObject(entries[i]));
    }
  }
  rows.AddLeftOut("rule", left_out);
}

void AddProblems(const std::vector<std::string>& problems, RowFiller& rows) {
  const std::size_t listed = std::min(problems.size(), kMostListedProblems);
  for (std::size_t i = 0; i < listed; ++i) {
    rows.Add({{"kind", "problem"}, {"text", problems[i].substr(0, kLongestProblem)}});
  }
  rows.AddLeftOut("problem", problems.size() - listed);
}

}  // namespace

std::vector<std::string> NamesRows(const Configuration& configuration, const RuleDictionary& rules,
                                   const std::vector<std::string>& problems) {
  RowFiller rows;
  for (const auto& [name, code] : configuration.event_names) {
    rows.Add({{"kind", "event"}, {"code", code}, {"name", name}});
  }
  for (const auto& [name, bit] : configuration.flag_names) {
    rows.Add({{"kind", "flag"}, {"bits", bit}, {"name", name}});
  }
  AddNodes(configuration.nodes, rows);
  AddRules(rules.entries(), rows);
  AddProblems(problems, rows);
  return std::move(rows).Take();
}

}  // namespace packetdb::host
