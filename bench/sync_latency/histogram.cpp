#include "bench/sync_latency/histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace packetdb::bench {

void Histogram::Add(std::uint64_t nanoseconds) {
  ++buckets_[BucketOf(nanoseconds)];
  ++count_;
  longest_ = std::max(longest_, nanoseconds);
}

std::uint64_t Histogram::Percentile(double share) const {
  const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(count_)));
  std::uint64_t seen = 0;
  for (std::size_t bucket = 0; bucket < kBuckets; ++bucket) {
    seen += buckets_[bucket];
    if (seen >= wanted && seen > 0) return std::min(UpperBound(bucket), longest_);
  }
  return 0;
}

// The bits below the highest kStepBits + 1 are dropped; how many those are counts the powers of 2.
std::size_t Histogram::BucketOf(std::uint64_t nanoseconds) {
  const auto width = static_cast<unsigned int>(std::bit_width(nanoseconds));
  if (width <= kStepBits + 1) return nanoseconds;
  const unsigned int dropped = width - kStepBits - 1;
  return (std::size_t{dropped} << kStepBits) + (nanoseconds >> dropped);
}

std::uint64_t Histogram::UpperBound(std::size_t bucket) {
  if (bucket < (std::size_t{2} << kStepBits)) return bucket;
  const std::size_t dropped = (bucket >> kStepBits) - 1;
  const std::uint64_t top = bucket - (dropped << kStepBits);
  return ((top + 1) << dropped) - 1;
}

}  // namespace packetdb::bench
