// The parts of a record file in memory, taken out, changed and put back.
#pragma once

#include <cstdint>
#include <cstring>

#include "fuzz/journal_description.h"
#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"

namespace packetdb::fuzz {

// A structure at an offset; what is not there of it is zero, and is not put back.
template <class Structure>
Structure Get(const Bytes& file, std::uint64_t offset) {
  Structure structure = {};
  if (offset < file.size()) {
    const std::uint64_t there = file.size() - offset;
    std::memcpy(&structure, file.data() + offset,
                there < sizeof structure ? there : sizeof structure);
  }
  return structure;
}
template <class Structure>
void Put(const Structure& structure, std::uint64_t offset, Bytes* file) {
  if (offset >= file->size()) return;
  const std::uint64_t there = file->size() - offset;
  std::memcpy(file->data() + offset, &structure,
              there < sizeof structure ? there : sizeof structure);
}

// That of the first superblock that goes with the length of the file; false when none does.
bool FindGeometry(const Bytes& file, host::Geometry* geometry);

// Makes a superblock whose sizes and numbers go together, and gives the file the length for them.
void SetFormat(std::uint32_t record_size, std::uint64_t capacity, host::Superblock* block,
               Bytes* file);

// Makes the checksums of superblocks and state right.
void SealFront(Bytes* file);

// Makes every frame right that is not all zeros, for the number that it claims.
void SealFrames(const host::Geometry& geometry, Bytes* file);

}  // namespace packetdb::fuzz
