// Frames in memory: every pair of flipped bits, some triples, and every torn overwrite. None may
// pass for the record.
#include <array>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <random>

#include "host/record_file/frame.h"
#include "tests/faults/integrity/history.h"
#include "tests/faults/integrity/tally.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

using host::FrameBuffer;

struct Options {
  std::uint64_t triples = 1'000'000;
  std::uint64_t torn = 1'000;     // overwrites, each torn at every byte
  std::uint64_t moved = 100'000;  // frames taken for those of other numbers
};

// Of a file of records of this size.
host::Geometry GeometryFor(std::uint64_t record_size, std::uint32_t seed) {
  host::Geometry geometry;
  geometry.record_size = static_cast<std::uint32_t>(record_size);
  geometry.frame_size = static_cast<std::uint32_t>(host::FrameSize(record_size));
  geometry.frames_per_cell = static_cast<std::uint32_t>(host::FramesPerCell(geometry.frame_size));
  geometry.seed = seed;
  return geometry;
}

class Trial {
 public:
  Trial(std::uint64_t record_size, std::uint64_t seed, const Options& options)
      : options_(options),
        random_(seed),
        geometry_(GeometryFor(record_size, static_cast<std::uint32_t>(random_()))) {}

  Outcome Run() {
    const std::uint64_t sequence = random_();
    const FrameBuffer frame = Seal({sequence, 0});
    FlipPairs(frame, sequence);
    FlipTriples(frame, sequence);
    for (std::uint64_t i = 0; i < options_.torn; ++i) Tear(random_());
    for (std::uint64_t i = 0; i < options_.moved; ++i) Move(random_());
    return {tally_.total(),
            fmt::format("{}-byte records: {} pairs, {} triples, {} torn, {} moved",
                        geometry_.record_size, pairs_, options_.triples, torn_, options_.moved)};
  }

 private:
  FrameBuffer Seal(const Identity& identity) const {
    std::array<std::byte, host::kMaxRecordSize> record = {};
    MakeRecord(identity, geometry_.record_size, record.data());
    FrameBuffer frame = {};
    host::SealFrame(geometry_, record.data(), identity.sequence, frame.data());
    return frame;
  }

  void Demand(const FrameBuffer& frame, std::uint64_t sequence, const std::string& what) {
    if (host::IsFrameOf(geometry_, sequence, frame.data())) {
      tally_.Violate(what, fmt::format("sequence number {}", sequence));
    }
  }

  // The padding between record and tail is not of the record.
  bool Counts(std::uint64_t bit) const {
    const std::uint64_t byte = bit / 8;
    return byte < geometry_.record_size || byte >= geometry_.frame_size - host::kFrameTailSize;
  }
  static void Flip(std::uint64_t bit, FrameBuffer* frame) {
    frame->bytes[bit / 8] ^= std::byte{1} << static_cast<unsigned>(bit % 8);
  }
  std::uint64_t DrawBit() {
    std::uint64_t bit = 0;
    do {
      bit = random_() % (geometry_.frame_size * 8);
    } while (!Counts(bit));
    return bit;
  }

  void FlipPairs(FrameBuffer frame, std::uint64_t sequence) {
    const std::uint64_t bits = geometry_.frame_size * 8;
    for (std::uint64_t first = 0; first < bits; ++first) {
      if (!Counts(first)) continue;
      Flip(first, &frame);
      Demand(frame, sequence, "one bit");
      for (std::uint64_t second = first + 1; second < bits; ++second) {
        if (!Counts(second)) continue;
        Flip(second, &frame);
        Demand(frame, sequence, "two bits");
        Flip(second, &frame);
        ++pairs_;
      }
      Flip(first, &frame);
    }
  }

  void FlipTriples(FrameBuffer frame, std::uint64_t sequence) {
    for (std::uint64_t i = 0; i < options_.triples; ++i) {
      const std::array<std::uint64_t, 3> bits = {DrawBit(), DrawBit(), DrawBit()};
      if (bits[0] == bits[1] || bits[1] == bits[2] || bits[0] == bits[2]) continue;
      for (const std::uint64_t bit : bits) Flip(bit, &frame);
      Demand(frame, sequence, "three bits");
      for (const std::uint64_t bit : bits) Flip(bit, &frame);
    }
  }

  // An overwrite, and an append over an earlier lap, that stopped after each byte.
  void Tear(std::uint64_t sequence) {
    const FrameBuffer whole = Seal({sequence, 2});
    for (const Identity& identity : {Identity{sequence, 1}, Identity{sequence - 4096, 0}}) {
      const FrameBuffer before = Seal(identity);
      FrameBuffer frame = before;
      for (std::uint64_t end = 1; end < geometry_.frame_size; ++end) {
        frame.bytes[end - 1] = whole.bytes[end - 1];
        if (IsSame(frame, whole) || IsSame(frame, before)) continue;
        Demand(frame, sequence, "a torn write");
        ++torn_;
      }
    }
  }
  bool IsSame(const FrameBuffer& frame, const FrameBuffer& other) const {
    return std::memcmp(frame.data(), other.data(), geometry_.frame_size) == 0;
  }

  // A frame in the slot of another lap, in another slot, and in another file.
  void Move(std::uint64_t sequence) {
    const FrameBuffer frame = Seal({sequence, 0});
    Demand(frame, sequence + 1, "another slot");
    Demand(frame, sequence + (std::uint64_t{1} << (random_() % 64)), "another lap");
    host::Geometry other = geometry_;
    other.seed ^= std::uint32_t{1} << (random_() % 32);
    if (host::IsFrameOf(other, sequence, frame.data())) {
      tally_.Violate("another file", fmt::format("sequence number {}", sequence));
    }
  }

  Options options_;
  std::mt19937_64 random_;
  host::Geometry geometry_;
  Tally tally_;
  std::uint64_t pairs_ = 0;
  std::uint64_t torn_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--triples", options->triples)->capture_default_str();
  app.add_option("--torn", options->torn, "overwrites to tear at every byte")
      ->capture_default_str();
  app.add_option("--moved", options->moved, "frames to look for elsewhere")->capture_default_str();
  return [options](const Common& common) {
    Outcome all;
    for (const std::uint64_t size : {72U, 64U, 60U}) {
      const Outcome one = Trial(size, common.seed, *options).Run();
      all.violations += one.violations;
      all.figures += (all.figures.empty() ? "" : "\n") + one.figures;
    }
    return all;
  };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Damages frames in memory",
                               packetdb::faults::AddOptions);
}
