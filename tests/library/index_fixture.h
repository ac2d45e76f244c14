// An index with verbs.
#pragma once

#include <string>

#include "tests/support/fixture.h"

namespace packetdb::test {

class IndexTest : public LibraryTest {
 protected:
  // An event that is told from others by this number.
  static Event Key(std::uint32_t key) { return EventAt(1000).Src(key); }

  static CLinkedDrvErrorItem* AddTo(DrvErrorItemsIndex& index, const Event& event,
                                    std::uint64_t hash = 0) {
    PacketDbItem item = Record(event, hash);
    CLinkedDrvErrorItem* node = index.NewItem(&item);
    index.AddItem(node);
    return node;
  }
  CLinkedDrvErrorItem* Add(const Event& event, std::uint64_t hash = 0) {
    return AddTo(index_, event, hash);
  }
  bool Finds(const Event& event, std::uint64_t hash = 0) {
    PacketDbItem item = Record(event, hash);
    return index_.FindItem(&item) != nullptr;
  }
  // The number of events that can be found, as the index itself reports it. Nothing expires: all
  // of time lies ahead of the clock.
  int Size() {
    Clock().Set(0);
    LinesOf(5, [&] { index_.RemoveExpiredItems(0); });
    const std::string last = Log().Texts(5).back();
    const std::string label = "after cleanup: lru_items = ";
    EXPECT_EQ(last.substr(0, label.size()), label);
    return std::stoi(last.substr(label.size()));
  }

  DrvErrorItemsIndex index_;
};

}  // namespace packetdb::test
