// Everything that was written to a disk, in order, and when it was told to flush: in memory that
// the process of the disk shares with those that look at it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace packetdb::faults {

struct DiskEvent {
  bool is_flush = false;        // what was written before is on the disk from now on
  std::uint64_t offset = 0;     // of a write: where on the disk
  std::span<const char> bytes;  // lives as long as the log
};

class DiskLog {
 public:
  DiskLog();
  DiskLog(const DiskLog&) = delete;
  DiskLog& operator=(const DiskLog&) = delete;
  ~DiskLog();

  // For the disk. False when there is no room left, and nothing was logged.
  bool AddWrite(std::uint64_t offset, std::span<const char> bytes);
  bool AddFlush();

  // How many events there are.
  std::uint64_t size() const { return head_->events.load(std::memory_order_acquire); }
  std::vector<DiskEvent> Events() const;

 private:
  struct Head {
    std::atomic<std::uint64_t> events;
    std::uint64_t bytes;  // used behind the head
  };
  struct EventHead {
    std::uint64_t offset;
    std::uint64_t length;  // 0: a flush
  };

  bool Add(const EventHead& event, std::span<const char> bytes);
  char* data() const { return reinterpret_cast<char*>(head_ + 1); }

  Head* head_;
};

}  // namespace packetdb::faults
