// The index as it would be written down first: a set of nodes from the heap. For comparison.
#pragma once

#include <set>

#include "packetdb/storage.h"

namespace packetdb::bench {

class PlainIndex {
 public:
  PlainIndex() = default;
  ~PlainIndex() {
    while (first_ != nullptr) RemoveFirstItem();
  }
  PlainIndex(const PlainIndex&) = delete;
  PlainIndex& operator=(const PlainIndex&) = delete;

  void Init(int most) { most_ = static_cast<std::size_t>(most); }

  CLinkedDrvErrorItem* FindItem(PacketDbItem* item) {
    CLinkedDrvErrorItem probe;
    static_cast<PacketDbItem&>(probe) = *item;
    const auto found = items_.find(&probe);
    return found == items_.end() ? nullptr : *found;
  }

  static CLinkedDrvErrorItem* NewItem(PacketDbItem* item) {
    auto* const node = new CLinkedDrvErrorItem();
    static_cast<PacketDbItem&>(*node) = *item;
    return node;
  }

  void AddItem(CLinkedDrvErrorItem* node) {
    items_.insert(node);
    (last_ == nullptr ? first_ : last_->m_Next) = node;
    last_ = node;
    if (items_.size() > most_) RemoveFirstItem();
  }

 private:
  void RemoveFirstItem() {
    CLinkedDrvErrorItem* const oldest = first_;
    first_ = oldest->m_Next;
    if (first_ == nullptr) last_ = nullptr;
    items_.erase(oldest);
    delete oldest;
  }

  std::set<CLinkedDrvErrorItem*, DrvErrorItemLess> items_;
  std::size_t most_ = 0;
  CLinkedDrvErrorItem* first_ = nullptr;
  CLinkedDrvErrorItem* last_ = nullptr;
};

}  // namespace packetdb::bench
