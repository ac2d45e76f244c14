// Memory that a process shares with the children it forks and that survives their death.
#pragma once

#include <atomic>
#include <cstddef>
#include <new>
#include <sys/mman.h>
#include <type_traits>

namespace packetdb::faults {

// `count` values, all zero at first.
template <class T>
class SharedMemory {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  explicit SharedMemory(std::size_t count = 1)
      : bytes_(count * sizeof(T)),
        memory_(mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (memory_ == MAP_FAILED) throw std::bad_alloc();
  }
  ~SharedMemory() { munmap(memory_, bytes_); }
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  T* get() const { return static_cast<T*>(memory_); }
  T& operator*() const { return *get(); }
  T* operator->() const { return get(); }
  T& operator[](std::size_t index) const { return get()[index]; }

 private:
  std::size_t bytes_;
  void* memory_;
};

// Keeps stores in their order, as they are seen by whoever looks after a kill.
inline void KeepOrder() { std::atomic_signal_fence(std::memory_order_seq_cst); }

}  // namespace packetdb::faults
