// The unit that travels on a connection. docs/bus_protocol.md shows the same with examples.
//
//   offset 0  length   4 bytes, network byte order: the bytes that follow, 2 to 1048576
//   offset 4  version  1 byte
//   offset 5  type     1 byte, FrameType
//   offset 6  payload  length - 2 bytes
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace packetdb::host {

inline constexpr std::size_t kLengthSize = 4;
inline constexpr std::size_t kVersionOffset = 4;
inline constexpr std::size_t kTypeOffset = 5;
inline constexpr std::size_t kPayloadOffset = 6;

inline constexpr std::uint32_t kMinFrameLength = 2;        // a version, a type, no payload
inline constexpr std::uint32_t kMaxFrameLength = 1 << 20;  // bounds what a peer makes us allocate
inline constexpr std::size_t kMaxPayload = kMaxFrameLength - kMinFrameLength;

inline constexpr std::uint8_t kProtocolVersion = 1;

enum class FrameType : std::uint8_t {
  kHeader = 1,  // the declaration of a table
  kRecord = 2,  // one record of it
  kMarker = 3,  // the end of a table that announced a marker
  kAnswer = 4,  // the answer code of a command
};

inline constexpr std::size_t kAnswerSize = 4;  // payload of an answer: the code, signed

// A received frame. The payload lives in the connection until its next operation.
struct BusFrame {
  FrameType type = FrameType::kHeader;
  std::span<const unsigned char> payload;
};

}  // namespace packetdb::host
