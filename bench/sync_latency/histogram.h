// How long many things took, in little memory and without losing the longest.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace packetdb::bench {

// Times in nanoseconds, to about 3 per cent; the longest exactly.
class Histogram {
 public:
  void Add(std::uint64_t nanoseconds);

  std::uint64_t count() const { return count_; }
  std::uint64_t longest() const { return longest_; }
  // The time that this share of all did not exceed, e.g. 0.99; 0 of none.
  std::uint64_t Percentile(double share) const;

 private:
  // 32 buckets of the same width between one power of 2 and the next.
  static constexpr unsigned int kStepBits = 5;
  static constexpr std::size_t kBuckets = std::size_t{64 - kStepBits + 1} << kStepBits;
  static std::size_t BucketOf(std::uint64_t nanoseconds);
  static std::uint64_t UpperBound(std::size_t bucket);

  std::array<std::uint64_t, kBuckets> buckets_ = {};
  std::uint64_t count_ = 0;
  std::uint64_t longest_ = 0;
};

}  // namespace packetdb::bench
