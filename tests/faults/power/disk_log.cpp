#include "tests/faults/power/disk_log.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <sys/mman.h>

namespace packetdb::faults {
namespace {

// Memory is taken as it is used.
constexpr std::size_t kRoom = std::size_t{2} << 30U;

}  // namespace

DiskLog::DiskLog() {
  void* const memory = mmap(nullptr, kRoom, PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no memory for the log of the disk");
  head_ = new (memory) Head{};
}

DiskLog::~DiskLog() { munmap(head_, kRoom); }

bool DiskLog::AddWrite(std::uint64_t offset, std::span<const char> bytes) {
  return Add({offset, bytes.size()}, bytes);
}

bool DiskLog::AddFlush() { return Add({0, 0}, {}); }

bool DiskLog::Add(const EventHead& event, std::span<const char> bytes) {
  if (head_->bytes + sizeof event + event.length > kRoom - sizeof(Head)) return false;
  char* const end = data() + head_->bytes;
  std::memcpy(end, &event, sizeof event);
  std::copy(bytes.begin(), bytes.end(), end + sizeof event);
  head_->bytes += sizeof event + event.length;
  head_->events.fetch_add(1, std::memory_order_release);
  return true;
}

std::vector<DiskEvent> DiskLog::Events() const {
  std::vector<DiskEvent> events;
  const std::uint64_t count = size();
  const char* next = data();
  while (events.size() < count) {
    EventHead event = {};
    std::memcpy(&event, next, sizeof event);
    next += sizeof event;
    events.push_back({event.length == 0, event.offset, {next, event.length}});
    next += event.length;
  }
  return events;
}

}  // namespace packetdb::faults
