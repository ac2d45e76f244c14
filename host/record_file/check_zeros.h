// Bytes of a file that should be zeros and are not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace packetdb::host {

// From the byte `begin` to before the byte `end`.
struct ByteRange {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

// "(1 byte)", "(640 bytes)".
std::string LengthText(const ByteRange& range);

// Makes one run of wrong bytes that lie close together: what overwrote them had zeros in it, and
// damage of many bytes must not be told byte by byte.
class Runs {
 public:
  // `gap` zeros end a run, fewer do not. `report` is called for each run, from its first wrong byte
  // to its last.
  Runs(std::uint64_t gap, std::function<void(const ByteRange&)> report)
      : gap_(gap), report_(std::move(report)) {}

  // Adds the bytes from `begin` to before `end` that are not zeros; the first is at `position`. All
  // calls in the order of the bytes.
  void AddWrongOf(const std::byte* begin, const std::byte* end, std::uint64_t position);
  // Bytes that are wrong, whatever they are.
  void Add(const ByteRange& wrong);
  // Nothing follows. Further bytes may lie anywhere.
  void End();

 private:
  const std::uint64_t gap_;
  const std::function<void(const ByteRange&)> report_;
  ByteRange run_;  // empty: none
};

// Zeros that end a run in padding, which has no fields whose zeros could be as many.
inline constexpr std::uint64_t kPaddingGap = 64;

}  // namespace packetdb::host
