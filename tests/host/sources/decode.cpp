#include "tests/host/sources/decode.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

#include "tests/host/sources/show.h"

namespace packetdb::host::test {

Decoded DecodeFrame(LinkParser parser, const Bytes& frame, const CaptureOptions& options,
                    std::optional<std::size_t> wire_length) {
  const auto exact = std::make_unique<std::uint8_t[]>(frame.size());
  std::copy(frame.begin(), frame.end(), exact.get());
  Decoded decoded;
  decoded.event =
      BuildEvent(parser, {ByteView(exact.get(), frame.size()), wire_length.value_or(frame.size())},
                 {kSecondFive, 0}, options, decoded.counters);
  EXPECT_EQ(decoded.counters.packets(), 1U);
  EXPECT_EQ(decoded.counters.events(), decoded.event ? 1U : 0U);
  EXPECT_EQ(decoded.counters.skipped(), decoded.event ? 0U : 1U);
  return decoded;
}

std::string Decode(LinkParser parser, const Bytes& frame, const CaptureOptions& options,
                   std::optional<std::size_t> wire_length) {
  const Decoded decoded = DecodeFrame(parser, frame, options, wire_length);
  std::string counts = Show(decoded.counters);
  if (!decoded.event) return counts;
  return Show(*decoded.event) + (counts.empty() ? "" : " " + counts);
}

ReadResult ReadCapture(const std::string& path, const CaptureOptions& options) {
  CaptureReader reader(path, options);
  ReadResult result;
  while (const auto event = reader.Next()) result.events.push_back(Show(*event));
  result.counters = reader.counters();
  if (reader.failure()) result.failure = reader.failure()->text;
  EXPECT_EQ(result.counters.events(), result.events.size());
  EXPECT_EQ(result.counters.packets(), result.counters.events() + result.counters.skipped());
  return result;
}

}  // namespace packetdb::host::test
