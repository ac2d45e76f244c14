#include "host/intake/node_table.h"

#include <algorithm>

namespace packetdb::host {

namespace {

constexpr std::uint64_t kAddresses = std::uint64_t{1} << 32U;

// The first address behind a network.
std::uint64_t EndOf(const NodeSettings& node) {
  return node.network + (kAddresses >> node.prefix_length);
}

// Around comes before inside.
bool StandsBefore(const NodeSettings& a, const NodeSettings& b) {
  return a.network != b.network ? a.network < b.network : a.prefix_length < b.prefix_length;
}

}  // namespace

NodeTable::NodeTable(std::vector<NodeSettings> nodes) {
  std::stable_sort(nodes.begin(), nodes.end(), StandsBefore);
  AddRange(0, 0);
  std::vector<const NodeSettings*> around;  // the networks that are not at their end yet
  const auto leave_until = [&](std::uint64_t address) {
    while (!around.empty() && EndOf(*around.back()) <= address) {
      const std::uint64_t end = EndOf(*around.back());
      around.pop_back();
      AddRange(end, around.empty() ? 0 : around.back()->id);
    }
  };
  for (const NodeSettings& node : nodes) {
    leave_until(node.network);
    AddRange(node.network, node.id);
    around.push_back(&node);
  }
  leave_until(kAddresses);
  IndexRanges();
}

// What begins where another range began takes its place.
void NodeTable::AddRange(std::uint64_t start, std::uint32_t id) {
  if (start == kAddresses) {
    return;
  }
  const auto first = static_cast<std::uint32_t>(start);
  if (!starts_.empty() && starts_.back() == first) {
    ids_.back() = id;
  } else {
    starts_.push_back(first);
    ids_.push_back(id);
  }
}

void NodeTable::IndexRanges() {
  constexpr std::uint32_t kHalves = std::uint32_t{1} << (32U - kHalf);
  first_.reserve(kHalves + 1);
  std::uint32_t range = 0;
  for (std::uint32_t half = 0; half < kHalves; ++half) {
    while (range + 1 < starts_.size() && starts_[range + 1] <= half << kHalf) {
      ++range;
    }
    first_.push_back(range);
  }
  first_.push_back(static_cast<std::uint32_t>(starts_.size() - 1));
}

}  // namespace packetdb::host
