#include "host/expression/interval_set.h"

#include <utility>

namespace packetdb::host::expression {

IntervalSet::IntervalSet(std::vector<Interval> intervals) {
  std::sort(intervals.begin(), intervals.end(),
            [](const Interval& a, const Interval& b) { return a.from < b.from; });
  for (const Interval& each : intervals) {
    // In 64 bits, because the highest number has no successor in 32.
    if (intervals_.empty() || std::uint64_t{intervals_.back().to} + 1 < each.from) {
      intervals_.push_back(each);
    } else {
      intervals_.back().to = std::max(intervals_.back().to, each.to);
    }
  }
}

bool IntervalSet::Includes(const IntervalSet& other) const { return And(other) == other; }

std::uint64_t IntervalSet::Size() const {
  std::uint64_t size = 0;
  for (const Interval& each : intervals_) size += std::uint64_t{each.to} - each.from + 1;
  return size;
}

IntervalSet IntervalSet::And(const IntervalSet& other) const {
  IntervalSet common;
  auto a = intervals_.begin();
  auto b = other.intervals_.begin();
  while (a != intervals_.end() && b != other.intervals_.end()) {
    const Interval both{std::max(a->from, b->from), std::min(a->to, b->to)};
    if (both.from <= both.to) common.intervals_.push_back(both);
    // The one that ends first has met everything that it can.
    if (a->to < b->to) {
      ++a;
    } else {
      ++b;
    }
  }
  return common;
}

IntervalSet IntervalSet::Or(const IntervalSet& other) const {
  std::vector<Interval> all = intervals_;
  all.insert(all.end(), other.intervals_.begin(), other.intervals_.end());
  return IntervalSet(std::move(all));
}

IntervalSet IntervalSet::Without(std::uint32_t highest) const {
  IntervalSet rest;
  std::uint64_t next = 0;  // in 64 bits: behind the highest number there may be none in 32
  for (const Interval& each : intervals_) {
    if (each.from > next) {
      rest.intervals_.push_back({static_cast<std::uint32_t>(next), each.from - 1});
    }
    next = std::uint64_t{each.to} + 1;
  }
  if (next <= highest) rest.intervals_.push_back({static_cast<std::uint32_t>(next), highest});
  return rest;
}

}  // namespace packetdb::host::expression
