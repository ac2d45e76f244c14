#include "host/record_file/frame.h"

#include <algorithm>
#include <cstring>

#include "host/record_file/crc32c.h"

namespace packetdb::host {
namespace {

struct Tail {
  std::uint32_t low_sequence;
  std::uint32_t checksum;
};
static_assert(sizeof(Tail) == kFrameTailSize);

Tail TailOf(const Geometry& geometry, const std::byte* frame) {
  Tail tail = {};
  std::memcpy(&tail, frame + geometry.frame_size - sizeof tail, sizeof tail);
  return tail;
}

// Never 0, so that a frame of zeros is never valid.
std::uint32_t Checksum(const Geometry& geometry, const void* record, std::uint64_t sequence) {
  std::uint32_t state = ContinueCrc32c(geometry.seed, record, geometry.record_size);
  state = ~ContinueCrc32c(state, &sequence, sizeof sequence);
  return state == 0 ? 0xFFFFFFFF : state;
}

}  // namespace

void SealFrame(const Geometry& geometry, const void* record, std::uint64_t sequence,
               std::byte* frame) {
  const Tail tail = {static_cast<std::uint32_t>(sequence), Checksum(geometry, record, sequence)};
  std::byte* const tail_at = frame + geometry.frame_size - sizeof tail;
  std::memcpy(frame, record, geometry.record_size);
  std::fill(frame + geometry.record_size, tail_at, std::byte{0});
  std::memcpy(tail_at, &tail, sizeof tail);
}

bool IsFrameOf(const Geometry& geometry, std::uint64_t sequence, const std::byte* frame) {
  const Tail tail = TailOf(geometry, frame);
  return tail.low_sequence == static_cast<std::uint32_t>(sequence) &&
         tail.checksum == Checksum(geometry, frame, sequence);
}

std::uint32_t LowSequenceOf(const Geometry& geometry, const std::byte* frame) {
  return TailOf(geometry, frame).low_sequence;
}

bool IsNeverWritten(const Geometry& geometry, const std::byte* frame) {
  return std::all_of(frame, frame + geometry.frame_size,
                     [](std::byte byte) { return byte == std::byte{0}; });
}

std::uint64_t NearestSequence(std::uint64_t near, std::uint32_t low) {
  // The difference of the low halves, taken as signed, is the way to the nearest.
  const auto difference = static_cast<std::int32_t>(low - static_cast<std::uint32_t>(near));
  return near + static_cast<std::uint64_t>(static_cast<std::int64_t>(difference));
}

}  // namespace packetdb::host
