#include "tests/support/allocation.h"

#include <cstdlib>
#include <new>

namespace packetdb::test {

namespace {

std::size_t failing_size = 0;
bool failing_every = false;
int failing_number = -1;
bool failing_for_good = false;
int counted = 0;
bool fired = false;
int host_operations = 0;
std::size_t last_size = 0;
std::size_t made = 0;
std::ptrdiff_t alive = 0;

// Counts the allocation, unless it is the host's.
bool IsTheFailingOne() noexcept {
  if (failing_number < 0 || host_operations > 0) return false;
  const int number = counted++;
  const bool fails = number == failing_number || (failing_for_good && number > failing_number);
  fired = fired || fails;
  return fails;
}

void* Allocate(std::size_t size) noexcept {
  last_size = size;
  if (failing_every || (failing_size != 0 && size == failing_size)) return nullptr;
  if (IsTheFailingOne()) return nullptr;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory != nullptr) {
    ++made;
    ++alive;
  }
  return memory;
}

void* AllocateOrThrow(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void Release(void* memory) noexcept {
  if (memory == nullptr) return;
  --alive;
  std::free(memory);
}

}  // namespace

FailAllocationsOf::FailAllocationsOf(std::size_t size) { failing_size = size; }
FailAllocationsOf::~FailAllocationsOf() { failing_size = 0; }

FailEveryAllocation::FailEveryAllocation() { failing_every = true; }
FailEveryAllocation::~FailEveryAllocation() { failing_every = false; }

FailAllocation::FailAllocation(int number, bool for_good) {
  failing_number = number;
  failing_for_good = for_good;
  counted = 0;
  fired = false;
}
FailAllocation::~FailAllocation() { failing_number = -1; }
bool FailAllocation::Fired() { return fired; }

HostMemory::HostMemory() { ++host_operations; }
HostMemory::~HostMemory() { --host_operations; }

std::size_t LastAllocationSize() { return last_size; }

std::size_t AllocationsMade() { return made; }
std::ptrdiff_t AllocationsAlive() { return alive; }

}  // namespace packetdb::test

using packetdb::test::Allocate;
using packetdb::test::AllocateOrThrow;
using packetdb::test::Release;

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { Release(memory); }
