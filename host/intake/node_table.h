// Which node an address belongs to: that of the smallest network around it.
#pragma once

#include <cstdint>
#include <vector>

#include "host/config/configuration.h"

namespace packetdb::host {

// Networks are nested or apart, so that they cut the addresses into ranges of one node each: a
// range is found by a bisection among those that the upper half of the address leaves. 100,000
// networks take some 2 MB.
class NodeTable {
 public:
  NodeTable() : NodeTable(std::vector<NodeSettings>()) {}
  // Of two entries with the same network the later one counts.
  explicit NodeTable(std::vector<NodeSettings> nodes);

  // The node of an IPv4 address in host byte order; 0 for none.
  std::uint32_t Find(std::uint32_t address) const {
    const std::uint32_t half = address >> kHalf;
    std::uint32_t low = first_[half];
    std::uint32_t high = first_[half + 1];
    // The range that begins last at or before the address; the one at `low` does.
    while (high - low > 0) {
      const std::uint32_t middle = high - (high - low) / 2;
      if (starts_[middle] <= address) {
        low = middle;
      } else {
        high = middle - 1;
      }
    }
    return ids_[low];
  }

 private:
  static constexpr std::uint32_t kHalf = 16;

  void AddRange(std::uint64_t start, std::uint32_t id);
  void IndexRanges();

  std::vector<std::uint32_t> starts_;  // ascending, from 0 on
  std::vector<std::uint32_t> ids_;     // of the range that begins there
  // By the upper half of an address: the range in which its lowest address lies. One more at the
  // end, for the last range of all.
  std::vector<std::uint32_t> first_;
};

}  // namespace packetdb::host
