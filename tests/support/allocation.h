// Exhausted memory on demand: the test executable's `operator new`, which shared libraries use too.
#pragma once

#include <cstddef>

namespace packetdb::test {

// While one of these lives, allocations of exactly `size` bytes fail.
class FailAllocationsOf {
 public:
  explicit FailAllocationsOf(std::size_t size);
  ~FailAllocationsOf();
  FailAllocationsOf(const FailAllocationsOf&) = delete;
  FailAllocationsOf& operator=(const FailAllocationsOf&) = delete;
};

// While one of these lives, every allocation fails.
class FailEveryAllocation {
 public:
  FailEveryAllocation();
  ~FailEveryAllocation();
  FailEveryAllocation(const FailEveryAllocation&) = delete;
  FailEveryAllocation& operator=(const FailEveryAllocation&) = delete;
};

// The size that was last asked for.
std::size_t LastAllocationSize();

// Allocations made by this process so far, and those of them that were not yet released.
std::size_t AllocationsMade();
std::ptrdiff_t AllocationsAlive();

}  // namespace packetdb::test
