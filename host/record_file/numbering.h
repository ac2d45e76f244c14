// From positions to sequence numbers: position 0 is the oldest record that there is, and numbers
// that have none are skipped.
#pragma once

#include <cstdint>
#include <vector>

#include "host/record_file/geometry.h"

namespace packetdb::host {

class Numbering {
 public:
  // Sequence numbers without a record, ascending.
  void SetHoles(std::vector<std::uint64_t> holes) { holes_ = std::move(holes); }

  // Adds one, wherever it belongs. Nothing changes when it is there already.
  void AddHole(std::uint64_t sequence);
  // There is a record again.
  void RemoveHole(std::uint64_t sequence);
  bool IsHole(std::uint64_t sequence) const;

  // Records and holes in the window.
  std::uint64_t Count(const Window& window) const {
    return holes_.empty() ? window.size() : window.size() - Holes(window);
  }
  std::uint64_t Holes(const Window& window) const;

  // The record at a position below Count(window).
  std::uint64_t SequenceAt(const Window& window, std::uint64_t position) const {
    return holes_.empty() ? window.begin + position : SkipHoles(window, position);
  }

 private:
  std::uint64_t SkipHoles(const Window& window, std::uint64_t position) const;

  std::vector<std::uint64_t> holes_;
};

}  // namespace packetdb::host
