#include "host/record_file/guard.h"

#include <csignal>
#include <mutex>
#include <sys/mman.h>
#include <utility>

#include "host/record_file/layout.h"

namespace packetdb::host {
namespace {

std::atomic<MappingGuard::Range*> all_ranges{nullptr};
struct sigaction previous_action;
std::once_flag is_installed;

static_assert(std::atomic<std::uintptr_t>::is_always_lock_free, "used by a signal handler");

MappingGuard::Range* FindRange(std::uintptr_t address) {
  MappingGuard::Range* range = all_ranges.load(std::memory_order_acquire);
  while (range != nullptr) {
    if (address >= range->begin.load() && address < range->end.load()) return range;
    range = range->next;
  }
  return nullptr;
}

// mmap is a plain system call: safe in a handler, though no standard says so.
bool PutEmptyPage(void* address) {
  auto* const byte = static_cast<std::byte*>(address);
  std::byte* const page = byte - reinterpret_cast<std::uintptr_t>(byte) % kPageSize;
  return mmap(page, kPageSize, PROT_READ | PROT_WRITE, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1,
              0) != MAP_FAILED;
}

void PassOn(int signal, siginfo_t* info, void* context) {
  if ((previous_action.sa_flags & SA_SIGINFO) != 0) {
    previous_action.sa_sigaction(signal, info, context);
  } else if (previous_action.sa_handler != SIG_DFL && previous_action.sa_handler != SIG_IGN) {
    previous_action.sa_handler(signal);
  } else {
    // As without us: the instruction faults again, or the signal that somebody sent is sent again.
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    if (info->si_code <= 0) raise(signal);
  }
}

void OnBusError(int signal, siginfo_t* info, void* context) {
  const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
  // What somebody sent has no address.
  MappingGuard::Range* const range = info->si_code > 0 ? FindRange(address) : nullptr;
  if (range != nullptr && PutEmptyPage(info->si_addr)) {
    range->lost.store(true);
  } else {
    PassOn(signal, info, context);
  }
}

void Install() {
  struct sigaction action = {};
  action.sa_sigaction = OnBusError;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  sigemptyset(&action.sa_mask);
  sigaction(SIGBUS, &action, &previous_action);
}

MappingGuard::Range* ReuseRange() {
  MappingGuard::Range* range = all_ranges.load(std::memory_order_acquire);
  for (; range != nullptr; range = range->next) {
    bool free = false;
    if (range->in_use.compare_exchange_strong(free, true)) {
      range->lost.store(false);
      return range;
    }
  }
  return nullptr;
}

MappingGuard::Range* AddRange() {
  auto* const range = new MappingGuard::Range;  // never freed: see Range
  range->next = all_ranges.load();
  while (!all_ranges.compare_exchange_weak(range->next, range)) {
  }
  return range;
}

}  // namespace

MappingGuard::MappingGuard(const void* begin, std::size_t length) : range_(ReuseRange()) {
  std::call_once(is_installed, Install);
  if (range_ == nullptr) range_ = AddRange();
  Move(begin, length);
}

MappingGuard::MappingGuard(MappingGuard&& other) noexcept
    : range_(std::exchange(other.range_, nullptr)) {}

MappingGuard& MappingGuard::operator=(MappingGuard&& other) noexcept {
  std::swap(range_, other.range_);
  return *this;
}

MappingGuard::~MappingGuard() {
  if (range_ == nullptr) return;
  range_->end.store(0);
  range_->begin.store(0);
  range_->in_use.store(false);
}

void MappingGuard::Move(const void* begin, std::size_t length) {
  // Empty in between, never a range that nobody mapped.
  range_->end.store(0);
  range_->begin.store(reinterpret_cast<std::uintptr_t>(begin));
  range_->end.store(reinterpret_cast<std::uintptr_t>(begin) + length);
}

}  // namespace packetdb::host
