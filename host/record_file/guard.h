// What keeps a process alive when the file under one of its mappings is cut or cannot be read.
//
// Touching such a page raises SIGBUS. The handler puts an empty page of this process's own there,
// notes that the mapping is lost, and lets the instruction run again. Whoever uses the mapping asks
// afterwards whether it is lost, and then believes nothing of what it read. A SIGBUS anywhere else
// goes to the handler that was there before, or kills as it would have.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace packetdb::host {

// One guarded range of memory, from its construction on or from Move on. The first guard of the
// process installs the handler, which then stays.
class MappingGuard {
 public:
  MappingGuard() = default;
  MappingGuard(const void* begin, std::size_t length);
  MappingGuard(MappingGuard&& other) noexcept;
  MappingGuard& operator=(MappingGuard&& other) noexcept;
  MappingGuard(const MappingGuard&) = delete;
  MappingGuard& operator=(const MappingGuard&) = delete;
  ~MappingGuard();

  // The range is somewhere else now, or longer; what was lost stays lost.
  void Move(const void* begin, std::size_t length);

  // Whether a page of the range had to be replaced.
  bool IsLost() const { return range_ != nullptr && range_->lost.load(std::memory_order_relaxed); }

  // What the handler looks at. Ranges are reused and never freed, as a handler may be reading them.
  struct Range {
    std::atomic<std::uintptr_t> begin{0};
    std::atomic<std::uintptr_t> end{0};
    std::atomic<bool> lost{false};
    std::atomic<bool> in_use{true};
    Range* next = nullptr;  // fixed once the range can be found
  };

 private:
  Range* range_ = nullptr;
};

}  // namespace packetdb::host
