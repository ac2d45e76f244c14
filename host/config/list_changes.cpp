#include "host/config/list_changes.h"

#include <fmt/format.h>
#include <unordered_map>

namespace packetdb::host {
namespace {

using Positions = std::unordered_map<std::string, std::size_t>;

// The value of a key; "none", which is no TOML, where the element has none.
std::string ValueOf(const ShownElement& element, const std::string& key) {
  for (const auto& [name, value] : element) {
    if (name == key) return value;
  }
  return "none";
}

Positions PositionsOf(const std::vector<ShownElement>& elements, const std::string& identity) {
  Positions positions;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    positions.emplace(ValueOf(elements[i], identity), i);
  }
  return positions;
}

void CompareKeys(const ShownElement& before, const ShownElement& after, const std::string& front,
                 std::vector<std::string>& lines) {
  for (const auto& [key, value] : before) {
    const std::string now = ValueOf(after, key);
    if (now != value) lines.push_back(fmt::format("{}: {}: {}, now {}", front, key, value, now));
  }
  for (const auto& [key, value] : after) {
    if (ValueOf(before, key) == "none") {
      lines.push_back(fmt::format("{}: {}: none, now {}", front, key, value));
    }
  }
}

// Whether those that stay stand in another order than before.
bool IsReordered(const Positions& before, const std::vector<ShownElement>& after,
                 const std::string& identity) {
  std::size_t last = 0;
  for (const ShownElement& element : after) {
    const auto found = before.find(ValueOf(element, identity));
    if (found == before.end()) continue;
    if (found->second < last) return true;
    last = found->second;
  }
  return false;
}

}  // namespace

void CompareLists(const ComparedList& list, const std::vector<ShownElement>& before,
                  const std::vector<ShownElement>& after,
                  std::vector<ConfigurationChange>& changes) {
  const Positions old_positions = PositionsOf(before, list.identity);
  const Positions new_positions = PositionsOf(after, list.identity);
  std::vector<std::string> lines;
  const auto front = [&](const ShownElement& element) {
    return fmt::format("{} {} = {}", list.title, list.identity, ValueOf(element, list.identity));
  };
  for (const ShownElement& element : before) {
    const auto found = new_positions.find(ValueOf(element, list.identity));
    if (found == new_positions.end()) {
      lines.push_back(fmt::format("{}: gone", front(element)));
    } else {
      CompareKeys(element, after[found->second], front(element), lines);
    }
  }
  for (const ShownElement& element : after) {
    if (!old_positions.contains(ValueOf(element, list.identity))) {
      lines.push_back(fmt::format("{}: new", front(element)));
    }
  }
  if (IsReordered(old_positions, after, list.identity)) {
    lines.push_back(list.title + ": in another order");
  }
  if (lines.size() > kMostChangesTold) {
    lines = {fmt::format("{}: {} changes", list.title, lines.size())};
  }
  for (std::string& line : lines) changes.push_back({std::move(line), list.effect});
}

}  // namespace packetdb::host
