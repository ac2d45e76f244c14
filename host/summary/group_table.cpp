#include "host/summary/group_table.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <numeric>
#include <random>

namespace packetdb::host {
namespace {

constexpr std::size_t kBlockEntries = 4096;
constexpr std::size_t kFirstSlots = 1024;  // a power of two, as all that follow

std::size_t EntrySize(std::size_t key_size) {
  constexpr std::size_t kAlign = alignof(Sums);
  return (sizeof(Sums) + key_size + kAlign - 1) / kAlign * kAlign;
}

std::uint64_t RandomSeed() {
  std::random_device device;
  return std::uint64_t{device()} << 32U | device();
}

std::uint64_t Mixed(std::uint64_t hash, std::uint64_t word) {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
  hash = (hash ^ word) * kOdd;
  return hash ^ hash >> 29U;
}

}  // namespace

GroupTable::GroupTable(const KeyLayout& layout, std::size_t most_keys)
    : layout_(layout),
      most_keys_(most_keys),
      entry_size_(EntrySize(layout.size())),
      seed_(RandomSeed()),
      slots_(kFirstSlots, kFree) {}

Sums* GroupTable::At(const KeyBytes* key) {
  std::size_t slot = SlotOf(key);
  if (slots_[slot] != kFree) return SumsOf(slots_[slot]);
  if (size_ >= most_keys_) return nullptr;
  if (2 * (size_ + 1) > slots_.size()) {
    Grow();
    slot = SlotOf(key);
  }
  slots_[slot] = NewEntry(key);
  return SumsOf(slots_[slot]);
}

void GroupTable::Sort() {
  slots_.resize(size_);
  std::iota(slots_.begin(), slots_.end(), 0U);
  std::sort(slots_.begin(), slots_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return layout_.IsBefore(KeyOf(a), KeyOf(b));
  });
}

void GroupTable::Clear() {
  size_ = 0;
  blocks_.clear();
  slots_.assign(kFirstSlots, kFree);
}

Sums* GroupTable::SumsOf(std::uint32_t entry) const {
  KeyBytes* const at = KeyOf(entry) - sizeof(Sums);
  return std::launder(reinterpret_cast<Sums*>(at));
}

KeyBytes* GroupTable::KeyOf(std::uint32_t entry) const {
  KeyBytes* const block = blocks_[entry / kBlockEntries].get();
  return block + entry % kBlockEntries * entry_size_ + sizeof(Sums);
}

std::size_t GroupTable::HashOf(const KeyBytes* key) const {
  std::uint64_t hash = seed_;
  for (std::size_t at = 0; at < layout_.size(); at += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, key + at, std::min(sizeof(word), layout_.size() - at));
    hash = Mixed(hash, word);
  }
  return Mixed(hash, seed_);
}

// Where the key is, or the free slot where it belongs.
std::size_t GroupTable::SlotOf(const KeyBytes* key) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = HashOf(key) & mask;
  while (slots_[slot] != kFree && std::memcmp(KeyOf(slots_[slot]), key, layout_.size()) != 0) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

std::uint32_t GroupTable::NewEntry(const KeyBytes* key) {
  if (size_ % kBlockEntries == 0) {
    blocks_.push_back(std::make_unique_for_overwrite<KeyBytes[]>(kBlockEntries * entry_size_));
  }
  const auto entry = static_cast<std::uint32_t>(size_++);
  new (KeyOf(entry) - sizeof(Sums)) Sums();
  std::memcpy(KeyOf(entry), key, layout_.size());
  return entry;
}

void GroupTable::Grow() {
  slots_.assign(2 * slots_.size(), kFree);
  for (std::uint32_t entry = 0; entry < size_; ++entry) slots_[SlotOf(KeyOf(entry))] = entry;
}

}  // namespace packetdb::host
