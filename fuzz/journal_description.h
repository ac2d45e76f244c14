// A record file in few bytes. Most of a file is zeros: what a fuzzer mutates is the rest.
//
//   0  u8   options of a run, kThisBoot and so on
//   1  u32  length of the file
//   5  pieces: u32 offset, u16 size, and so many bytes
//
// Any bytes are a description: what lies beyond the length is dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace packetdb::fuzz {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint64_t kMaxFileLength = std::uint64_t{1} << 21U;

enum Option : std::uint8_t {
  kThisBoot = 1,  // the state page was written in this boot of the machine
  kByCalls = 2,   // the file is not mapped
  kThorough = 4,  // it is looked through at opening
};

struct Piece {
  std::uint64_t offset = 0;
  Bytes bytes;
};

struct Description {
  std::uint8_t options = 0;
  std::uint64_t length = 0;
  std::vector<Piece> pieces;
};

Description ParseDescription(const std::uint8_t* data, std::size_t size);
Bytes Serialize(const Description& description);

// The whole file; and the description of one.
Bytes Expand(const Description& description);
Description Describe(const Bytes& file, std::uint8_t options);

}  // namespace packetdb::fuzz
