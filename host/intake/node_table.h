// Which node an address belongs to: that of the smallest network around it.
#pragma once

#include <cstddef>
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
    // The range that begins last at or before the address: that at `first` does. Without a branch
    // on what is found, which no processor could foresee.
    const std::uint32_t* first = starts_.data() + first_[half];
    std::uint32_t count = first_[half + 1] - first_[half] + 1;
    while (count > 1) {
      const std::uint32_t step = count / 2;
      first = first[step] <= address ? first + step : first;
      count -= step;
    }
    return ids_[static_cast<std::size_t>(first - starts_.data())];
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
