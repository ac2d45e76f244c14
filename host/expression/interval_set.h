// Sets of numbers, as the values of a field that a condition leaves.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace packetdb::host::expression {

// From `from` to `to`, both included, and `from` not above `to`.
struct Interval {
  std::uint32_t from = 0;
  std::uint32_t to = 0;

  bool operator==(const Interval&) const = default;
};

class IntervalSet {
 public:
  IntervalSet() = default;  // empty
  // Any order; they may touch and overlap.
  explicit IntervalSet(std::vector<Interval> intervals);

  // Of all numbers from 0 to `highest`.
  static IntervalSet Everything(std::uint32_t highest) { return IntervalSet({{0, highest}}); }

  bool empty() const { return intervals_.empty(); }
  bool Contains(std::uint32_t number) const {
    const auto behind =
        std::partition_point(intervals_.begin(), intervals_.end(),
                             [number](const Interval& each) { return each.to < number; });
    return behind != intervals_.end() && behind->from <= number;
  }
  bool Includes(const IntervalSet& other) const;
  // How many numbers there are.
  std::uint64_t Size() const;

  // The smallest interval around all; of a set that is not empty.
  Interval Hull() const { return {intervals_.front().from, intervals_.back().to}; }
  IntervalSet And(const IntervalSet& other) const;
  IntervalSet Or(const IntervalSet& other) const;
  // What is left of the numbers from 0 to `highest`, which no member is above.
  IntervalSet Without(std::uint32_t highest) const;

  // In order, with a gap between each two.
  const std::vector<Interval>& intervals() const { return intervals_; }

  bool operator==(const IntervalSet&) const = default;

 private:
  std::vector<Interval> intervals_;
};

}  // namespace packetdb::host::expression
