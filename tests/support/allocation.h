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

// While one of these lives, the allocation with this number fails, counted from 0 and from its
// birth on; with `for_good` every later one as well. What the host allocates is left out.
class FailAllocation {
 public:
  FailAllocation(int number, bool for_good);
  ~FailAllocation();
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;

  // Whether the last one that was made has failed an allocation.
  static bool Fired();
};

// While one of these lives, allocations are the host's own. Every operation of the scripted
// platform has one, so that FailAllocation meets the library's allocations only.
class HostMemory {
 public:
  HostMemory();
  ~HostMemory();
  HostMemory(const HostMemory&) = delete;
  HostMemory& operator=(const HostMemory&) = delete;
};

// The size that was last asked for.
std::size_t LastAllocationSize();

// Allocations made by this process so far, and those of them that were not yet released.
std::size_t AllocationsMade();
std::ptrdiff_t AllocationsAlive();

}  // namespace packetdb::test
