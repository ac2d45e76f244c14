#include "host/record_file/rescue_frames.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/frame.h"

namespace packetdb::host {
namespace {

constexpr std::uint32_t kReflectedPolynomial = 0x82F63B78;

// The table of CRC-32C by the high byte of its entries, which all differ: it leads back from a
// state to the one before.
class Unwinder {
 public:
  Unwinder() {
    for (std::uint32_t byte = 0; byte < kEntries; ++byte) {
      std::uint32_t state = byte;
      for (int bit = 0; bit < 8; ++bit) {
        state = (state >> 1U) ^ ((state & 1U) != 0 ? kReflectedPolynomial : 0);
      }
      table_[byte] = state;
      byte_of_[state >> 24U] = static_cast<std::uint8_t>(byte);
    }
  }

  // The state of the register before these bytes went through it.
  std::uint32_t Before(std::uint32_t state, const void* bytes, std::size_t size) const {
    const auto* const begin = static_cast<const std::uint8_t*>(bytes);
    for (const std::uint8_t* at = begin + size; at != begin;) {
      const std::uint32_t entry = byte_of_[state >> 24U];
      state = ((state ^ table_[entry]) << 8U) | (entry ^ *--at);
    }
    return state;
  }

 private:
  static constexpr std::uint32_t kEntries = 256;

  std::array<std::uint32_t, kEntries> table_ = {};
  std::array<std::uint8_t, kEntries> byte_of_ = {};
};

std::uint64_t LengthOf(const Descriptor& file) {
  struct stat status = {};
  return fstat(file.get(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

}  // namespace

FrameKey MakeKey(std::uint32_t record_size, std::uint32_t seed, std::uint64_t near) {
  FrameKey key;
  key.geometry.record_size = record_size;
  key.geometry.frame_size = static_cast<std::uint32_t>(FrameSize(record_size));
  key.geometry.frames_per_cell = static_cast<std::uint32_t>(FramesPerCell(key.geometry.frame_size));
  key.geometry.seed = seed;
  key.near = near;
  return key;
}

std::optional<std::uint64_t> NumberOf(const FrameKey& key, const std::byte* frame) {
  const std::uint64_t number = NearestSequence(key.near, LowSequenceOf(key.geometry, frame));
  const bool is_whole = number < kMaxSequence && IsFrameOf(key.geometry, number, frame);
  return is_whole ? std::optional(number) : std::nullopt;
}

std::optional<std::uint32_t> SeedOf(const FrameKey& key, const std::byte* frame) {
  static const Unwinder unwinder;
  std::uint32_t checksum = 0;
  std::memcpy(&checksum, frame + key.geometry.frame_size - sizeof checksum, sizeof checksum);
  // All ones stands for two checksums.
  if (checksum == 0xFFFFFFFF || IsNeverWritten(key.geometry, frame)) return std::nullopt;
  const std::uint64_t number = NearestSequence(key.near, LowSequenceOf(key.geometry, frame));
  const std::uint32_t state = unwinder.Before(~checksum, &number, sizeof number);
  return unwinder.Before(state, frame, key.geometry.record_size);
}

RescueSource::RescueSource(const Descriptor& file) : file_(file) {
  const std::uint64_t length = LengthOf(file);
  if (length > kCellsOffset) cells_ = (length - kCellsOffset + kCellSize - 1) / kCellSize;
}

bool RescueSource::Read(std::uint64_t offset, std::byte* bytes, std::uint64_t size) const {
  std::uint64_t done = 0;
  while (done < size) {
    const ssize_t got =
        pread(file_.get(), bytes + done, size - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    done += static_cast<std::uint64_t>(got);
  }
  std::fill(bytes + done, bytes + size, std::byte{0});
  return true;
}

FrontPages RescueSource::ReadFront() const {
  FrontPages front;
  auto* const bytes = reinterpret_cast<std::byte*>(&front);
  for (std::uint64_t page = 0; page < kCellsOffset; page += kPageSize) {
    if (!Read(page, bytes + page, kPageSize)) std::fill_n(bytes + page, kPageSize, std::byte{0});
  }
  return front;
}

void RescueSource::ForEachFrame(
    const Geometry& geometry,
    const std::function<bool(std::uint64_t, const std::byte*)>& look) const {
  constexpr std::uint64_t kCellsAtOnce = 512;
  std::vector<std::byte> piece(kCellsAtOnce * kCellSize);
  std::uint64_t cells = kCellsAtOnce;
  for (std::uint64_t cell = 0; cell < cells_; cell += cells) {
    const std::uint64_t begin = kCellsOffset + cell * kCellSize;
    // Where a disk does not give a piece, it may give some of its cells.
    cells = std::min(kCellsAtOnce, cells_ - cell);
    if (!Read(begin, piece.data(), cells * kCellSize)) {
      cells = 1;
      if (!Read(begin, piece.data(), kCellSize)) continue;
    }
    for (std::uint64_t i = 0; i < cells * geometry.frames_per_cell; ++i) {
      const std::uint64_t at = i / geometry.frames_per_cell * kCellSize +
                               i % geometry.frames_per_cell * geometry.frame_size;
      if (!look(begin + at, piece.data() + at)) return;
    }
  }
}

}  // namespace packetdb::host
