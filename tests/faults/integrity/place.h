// What a byte of a record file belongs to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/record_file/geometry.h"

namespace packetdb::faults {

enum class Part {
  kSuperblocks,
  kState,
  kFrame,    // the record in its slot, its number or its checksum
  kPadding,  // between a record and its tail, and behind the frames of a cell
};

struct Place {
  Part part = Part::kSuperblocks;
  std::optional<std::uint64_t> live;  // the live record whose frame it is
};

Place PlaceOf(const host::Geometry& geometry, const host::Window& live, std::uint64_t offset);

// Of a file that is sound.
host::Geometry GeometryOf(const std::string& path);

}  // namespace packetdb::faults
