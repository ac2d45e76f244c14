// Groups in memory: what is added up under each key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/summary/key_layout.h"
#include "host/summary/sums.h"

namespace packetdb::host {

// Open addressing over entries of one size that lie in blocks, so that a group costs its key, its
// sums and about eight bytes, and nothing is moved when there are more.
class GroupTable {
 public:
  // At most `most_keys` groups, fewer than 2^31 of them. `layout` must outlive it.
  GroupTable(const KeyLayout& layout, std::size_t most_keys);

  // The sums of a key, all zero for a new one; null when it is new and there is no room.
  Sums* At(const KeyBytes* key);

  // Puts the groups into the order of their keys, behind which nothing is added before Clear().
  void Sort();
  void Clear();

  std::size_t size() const { return size_; }
  // Of the group at a place, 0 to size() - 1, after Sort().
  const Sums& SumsAt(std::size_t place) const { return *SumsOf(slots_[place]); }
  const KeyBytes* KeyAt(std::size_t place) const { return KeyOf(slots_[place]); }

 private:
  static constexpr std::uint32_t kFree = UINT32_MAX;

  Sums* SumsOf(std::uint32_t entry) const;
  KeyBytes* KeyOf(std::uint32_t entry) const;
  std::size_t HashOf(const KeyBytes* key) const;
  std::size_t SlotOf(const KeyBytes* key) const;
  std::uint32_t NewEntry(const KeyBytes* key);
  void Grow();

  const KeyLayout& layout_;
  std::size_t most_keys_;
  std::size_t entry_size_;
  std::uint64_t seed_;  // so that no sender of packets can make keys that all collide
  std::size_t size_ = 0;
  std::vector<std::uint32_t> slots_;  // entries by hash; after Sort() by key
  std::vector<std::unique_ptr<KeyBytes[]>> blocks_;
};

}  // namespace packetdb::host
