// Bytes of a file that should be zeros and are not.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/record_file/descriptor.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// From the byte `begin` to before the byte `end`.
struct ByteRange {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

// Zeros that end a run in padding, which has no fields whose zeros could be as many.
inline constexpr std::uint64_t kPaddingGap = 64;

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

  // Bytes that are not zeros; all calls in the order of the bytes.
  void Add(const ByteRange& wrong);
  // Nothing follows. Further bytes may lie anywhere.
  void End();

 private:
  const std::uint64_t gap_;
  const std::function<void(const ByteRange&)> report_;
  ByteRange run_;  // empty: none
};

// Adds the bytes from `begin` to before `end` that are not zeros; the first is at `position`.
void AddWrongBytes(const char* begin, const char* end, std::uint64_t position, Runs* runs);

// Reads a range of a file piece by piece. Holes, which are zeros, are left out.
class Pieces {
 public:
  // `file` outlives the object.
  Pieces(const Descriptor& file, const ByteRange& range);

  // The next piece; none at the end of the range or of the file, or after a failure.
  bool Next();
  RecordFileResult result() const { return result_; }
  ByteRange piece() const { return {begin_, begin_ + got_}; }
  bool IsAllZeros() const;
  // The part of `range` that is in the piece; nothing where there is none.
  void AddWrongBytesOf(const ByteRange& range, Runs* runs) const;

 private:
  void SkipHole();

  const Descriptor& file_;
  std::uint64_t begin_;  // of the piece
  const std::uint64_t end_;
  std::uint64_t got_ = 0;
  std::vector<char> bytes_;
  RecordFileResult result_ = kRecordFileOk;
};

}  // namespace packetdb::host
