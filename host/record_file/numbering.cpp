#include "host/record_file/numbering.h"

#include <algorithm>

namespace packetdb::host {

void Numbering::AddHole(std::uint64_t sequence) {
  const auto at = std::lower_bound(holes_.begin(), holes_.end(), sequence);
  if (at == holes_.end() || *at != sequence) holes_.insert(at, sequence);
}

void Numbering::RemoveHole(std::uint64_t sequence) {
  const auto at = std::lower_bound(holes_.begin(), holes_.end(), sequence);
  if (at != holes_.end() && *at == sequence) holes_.erase(at);
}

bool Numbering::IsHole(std::uint64_t sequence) const {
  return std::binary_search(holes_.begin(), holes_.end(), sequence);
}

std::uint64_t Numbering::Holes(const Window& window) const {
  const auto begin = std::lower_bound(holes_.begin(), holes_.end(), window.begin);
  const auto end = std::lower_bound(begin, holes_.end(), window.end);
  return static_cast<std::uint64_t>(end - begin);
}

// The i-th hole of the window is skipped when fewer than `position` + 1 records stand before it;
// how many stand before a hole grows along the list, so that it can be searched by halves.
std::uint64_t Numbering::SkipHoles(const Window& window, std::uint64_t position) const {
  const auto begin = std::lower_bound(holes_.begin(), holes_.end(), window.begin);
  const auto first_behind =
      std::partition_point(begin, holes_.end(), [&](const std::uint64_t& hole) {
        const auto before = static_cast<std::uint64_t>(&hole - &*begin);
        return hole - window.begin - before <= position;
      });
  return window.begin + position + static_cast<std::uint64_t>(first_behind - begin);
}

}  // namespace packetdb::host
