#include "host/names/names.h"

#include <fmt/format.h>

#include "host/config/flag_names.h"
#include "host/sources/event.h"

namespace packetdb::host {

Names::Names() : events_(Numbered(EventNamesWith({}))), flags_(HostFlagNames()) {}

Names::Table Names::Numbered(const NameTable& numbers) {
  Table table;
  table.numbers = numbers;
  for (const auto& [name, number] : numbers) table.names.try_emplace(number, name);
  return table;
}

const std::string* Names::NameIn(const Table& table, std::uint32_t number) {
  const auto found = table.names.find(number);
  return found == table.names.end() ? nullptr : &found->second;
}

std::optional<std::uint32_t> Names::NumberIn(const NameTable& numbers, std::string_view name) {
  const auto found = numbers.find(std::string(name));
  return found == numbers.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::string> Names::Flags(std::uint32_t flags) const {
  const std::uint32_t bits = flags & ~kRuleMask;
  std::vector<std::string> names = NamesOfFlags(bits, flags_);
  std::uint32_t unnamed = bits;
  for (const auto& [name, bit] : flags_) unnamed &= ~bit;
  if (unnamed != 0) names.push_back(fmt::format("{:#x}", unnamed));
  return names;
}

const RuleEntry* Names::Rule(std::uint32_t flags, std::uint32_t seconds) const {
  const std::uint32_t number = RuleNumber(flags);
  return number == 0 ? nullptr : rules_.Find(number, std::int64_t{seconds} + TIME_1980_OFFSET);
}

std::optional<std::uint32_t> Names::EventCode(std::string_view name) const {
  return NumberIn(events_.numbers, name);
}

std::optional<std::uint32_t> Names::FlagBit(std::string_view name) const {
  return NumberIn(flags_, name);
}

std::optional<std::uint32_t> Names::NodeId(std::string_view name) const {
  return NumberIn(nodes_.numbers, name);
}

}  // namespace packetdb::host
