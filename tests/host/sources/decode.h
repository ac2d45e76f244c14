// One frame, or one file, through the code under test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/sources/capture_reader.h"
#include "host/sources/event_builder.h"
#include "tests/host/sources/packets.h"

namespace packetdb::host::test {

// When the frames of Decode() were seen: the fifth second of 1980.
inline constexpr std::int64_t kSecondFive = 315532805;

// What Decode() makes of Udp(), captured with all its bytes.
inline const std::string kUdpEvent =
    "capture 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 32 at 5";

struct Decoded {
  std::optional<Event> event;
  CaptureCounters counters;
};

// The parsers see the frame in an allocation of exactly its size. `wire_length` defaults to that
// size as well.
Decoded DecodeFrame(LinkParser parser, const Bytes& frame, const CaptureOptions& options = {},
                    std::optional<std::size_t> wire_length = {});

// The event as text, or the reason for none; remarks behind it in brackets.
std::string Decode(LinkParser parser, const Bytes& frame, const CaptureOptions& options = {},
                   std::optional<std::size_t> wire_length = {});

struct ReadResult {
  std::vector<std::string> events;
  CaptureCounters counters;
  std::string failure;  // empty: none
};

ReadResult ReadCapture(const std::string& path, const CaptureOptions& options = {});

}  // namespace packetdb::host::test
