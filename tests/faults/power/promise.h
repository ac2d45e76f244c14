// What a journal owes after a power cut, and whether it keeps it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/power/record.h"

namespace packetdb::faults {

// The versions of the records from `begin` on, by ordinal. Records below `begin` have been dropped
// for being too many.
class Versions {
 public:
  std::uint64_t begin() const { return begin_; }
  std::uint64_t end() const { return begin_ + versions_.size(); }
  // 0 for a record that there is not.
  std::uint64_t Of(std::uint64_t ordinal) const {
    return ordinal < begin_ || ordinal >= end() ? 0 : versions_[ordinal - begin_];
  }
  // `ordinal` is at least begin(); those between the end and it become 0.
  void Set(std::uint64_t ordinal, std::uint64_t version);
  void DropBelow(std::uint64_t begin);
  void CutTo(std::uint64_t end);

 private:
  std::uint64_t begin_ = 0;
  std::vector<std::uint64_t> versions_;
};

struct Promise {
  Versions acknowledged;       // was on the disk when a flush, or a close, had returned
  Versions written;            // the last version that was ever written until the cut
  std::uint64_t capacity = 0;  // the least that the journal had between the two
  // Says which records may be missing all the same: none when it is not set.
  std::function<bool(std::uint64_t ordinal)> may_be_missing;
};

// What a reader gets to see.
struct Found {
  int result = 0;              // of opening
  std::vector<Label> records;  // in order
  std::uint64_t garbage = 0;   // records that nobody ever wrote
  std::uint64_t refused = 0;   // positions that could not be read
  bool operator==(const Found&) const = default;
};

// One line for each kind of broken promise, with its first example; none when all were kept.
std::vector<std::string> Judge(const Promise& promise, const Found& found);

}  // namespace packetdb::faults
