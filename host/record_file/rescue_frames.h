// The frames of a file of which nothing is certain.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// The pages at the front, as far as they could be read; the rest is zeros.
struct FrontPages {
  Superblock a = {};
  Superblock b = {};
  StatePage state = {};
};
static_assert(sizeof(FrontPages) == kCellsOffset);

// What proves frames, as far as it is guessed.
struct FrameKey {
  Geometry geometry;       // record and frame size, frames in a cell, and the seed
  std::uint64_t near = 0;  // a number that all are less than 2^31 away from
};

FrameKey MakeKey(std::uint32_t record_size, std::uint32_t seed, std::uint64_t near);

// The number of the record that the frame holds whole; none when it holds none.
std::optional<std::uint64_t> NumberOf(const FrameKey& key, const std::byte* frame);

// The seed with which the frame would be whole: every checksum is right for one. None where the
// checksum does not tell.
std::optional<std::uint32_t> SeedOf(const FrameKey& key, const std::byte* frame);

// Reads a file cell by cell, whatever its length is. What cannot be read is left out.
class RescueSource {
 public:
  // `file` outlives the source.
  explicit RescueSource(const Descriptor& file);

  std::uint64_t cells() const { return cells_; }
  FrontPages ReadFront() const;
  // A piece of the file, `size` bytes from `offset` on; what is beyond the end is zeros.
  bool Read(std::uint64_t offset, std::byte* bytes, std::uint64_t size) const;

  // Calls `look` with each frame of each cell that can be read; `look` returns whether to go on.
  void ForEachFrame(
      const Geometry& geometry,
      const std::function<bool(std::uint64_t offset, const std::byte* frame)>& look) const;

 private:
  const Descriptor& file_;
  std::uint64_t cells_ = 0;
};

}  // namespace packetdb::host
