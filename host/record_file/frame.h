// A frame: one record with what proves that it is this record of this file.
//
// Behind the record stand the low half of its sequence number and a checksum that also covers the
// whole sequence number and starts from the file's own seed. So a frame of an earlier lap, of
// another slot or of another file is as invalid as one that was torn or has rotted.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/record_file/geometry.h"

namespace packetdb::host {

// Room for the frame of any record size.
struct alignas(kFrameAlignment) FrameBuffer {
  std::array<std::byte, kCellSize> bytes;

  std::byte* data() { return bytes.data(); }
  const std::byte* data() const { return bytes.data(); }
};

// Makes the frame of `record` (record_size bytes) with this sequence number: frame_size bytes.
void SealFrame(const Geometry& geometry, const void* record, std::uint64_t sequence,
               std::byte* frame);

// Whether the frame holds the record with this sequence number. The bytes must not change
// meanwhile: what another process may be writing is copied first.
bool IsFrameOf(const Geometry& geometry, std::uint64_t sequence, const std::byte* frame);

// The low half of the sequence number that the frame claims.
std::uint32_t LowSequenceOf(const Geometry& geometry, const std::byte* frame);

// Whether the frame is as it was when the file was made: no sealed frame is.
bool IsNeverWritten(const Geometry& geometry, const std::byte* frame);

// The sequence number with this low half that is nearest to `near`.
std::uint64_t NearestSequence(std::uint64_t near, std::uint32_t low);

}  // namespace packetdb::host
