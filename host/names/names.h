// What the numbers in records are called: event codes, bits of the flags, network nodes, rules.
//
// A plain value, filled once by whoever knows the names: the daemon, or the files that it reads.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/event_names.h"
#include "host/intake/rule_dictionary.h"

namespace packetdb::host {

class Names {
 public:
  Names();  // what holds where nobody gives other names: events and flags, no nodes, no rules

  void SetEvents(const NameTable& events) { events_ = Numbered(events); }
  // Of one bit each.
  void SetFlags(const NameTable& flags) { flags_ = flags; }
  // Several networks may be one node, and so have one name.
  void SetNodes(const NameTable& nodes) { nodes_ = Numbered(nodes); }
  void SetRules(RuleDictionary rules) { rules_ = std::move(rules); }

  // Null for a number without a name; valid as long as these names.
  const std::string* Event(std::uint32_t code) const { return NameIn(events_, code); }
  const std::string* Node(std::uint32_t id) const { return NameIn(nodes_, id); }

  // The names of these bits, lowest bit first, and those without one as "0x200".
  std::vector<std::string> Flags(std::uint32_t flags) const;

  // What logged an event with these flags at that time, in seconds since 1980; null when the flags
  // have no number of a rule, or nobody knows it.
  const RuleEntry* Rule(std::uint32_t flags, std::uint32_t seconds) const;

  std::optional<std::uint32_t> EventCode(std::string_view name) const;
  std::optional<std::uint32_t> FlagBit(std::string_view name) const;
  std::optional<std::uint32_t> NodeId(std::string_view name) const;

  // By number.
  const std::map<std::uint32_t, std::string>& events() const { return events_.names; }
  const std::map<std::uint32_t, std::string>& nodes() const { return nodes_.names; }
  const NameTable& flags() const { return flags_; }
  const RuleDictionary& rules() const { return rules_; }

 private:
  struct Table {
    std::map<std::uint32_t, std::string> names;
    NameTable numbers;
  };

  static Table Numbered(const NameTable& numbers);
  static const std::string* NameIn(const Table& table, std::uint32_t number);
  static std::optional<std::uint32_t> NumberIn(const NameTable& numbers, std::string_view name);

  Table events_;
  Table nodes_;
  NameTable flags_;
  RuleDictionary rules_;
};

}  // namespace packetdb::host
