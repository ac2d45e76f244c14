// The nodes of the addresses that were asked for last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "host/intake/node_table.h"

namespace packetdb::host {

// The same addresses come again and again. A bisection of a large table reads memory in many
// places, one after the other; this reads one, and replaces what it finds there when it is another
// address.
class NodeMemo {
 public:
  static constexpr std::size_t kEntries = 4096;  // 32 KiB

  explicit NodeMemo(NodeTable table)
      : table_(std::move(table)), entries_(kEntries, {0, table_.Find(0)}) {}

  // As NodeTable::Find.
  std::uint32_t Find(std::uint32_t address) {
    constexpr std::uint32_t kGolden = 0x9E3779B9;  // 2^32 by the golden ratio: spreads neighbours
    constexpr std::uint32_t kShift = 32 - 12;
    static_assert(kEntries == std::size_t{1} << (32 - kShift));
    Entry& entry = entries_[address * kGolden >> kShift];
    if (entry.address != address) {
      entry = {address, table_.Find(address)};
    }
    return entry.node;
  }

 private:
  struct Entry {
    std::uint32_t address;
    std::uint32_t node;
  };

  NodeTable table_;
  std::vector<Entry> entries_;
};

}  // namespace packetdb::host
