// A storage derived from the file storage: what the library asks of it, it asks through the virtual
// operations.
#include <utility>

#include "packetdb/storage_iter.h"
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

// Notes what is asked of it, has another window than its file was opened with, and decodes every
// record to one of 77 packets.
class WatchedFileStorage : public DbFileStorage {
 public:
  time_t getTimeDiff() const override { return 1000; }
  int RecordCount() const override { return Noted("RecordCount", DbFileStorage::RecordCount()); }
  int FetchRecord(int position, PacketDbItem* item) const override {
    return Noted("FetchRecord", DbFileStorage::FetchRecord(position, item));
  }
  int FetchRecords(int first, void* buffer, int count) const override {
    return Noted("FetchRecords", DbFileStorage::FetchRecords(first, buffer, count));
  }
  PacketDbItem* InvertEndian(PacketDbItemPacked* record) const override {
    PacketDbItem* item = DbFileStorage::InvertEndian(record);
    item->m_Item.m_Count = 77;
    return item;
  }
  using DbFileStorage::InvertEndian;

  mutable Strings noted;

 private:
  int Noted(const std::string& operation, int result) const {
    noted.push_back(operation);
    return result;
  }
};

class WatchedStorage : public LibraryTest {
 protected:
  WatchedStorage() {
    storage_.Init(kJournalPath, 10, 5, 0);
    const Event event = EventAt(500);
    storage_.AddRecord(&event, 0, "");
    storage_.noted.clear();
  }

  WatchedFileStorage storage_;
};

TEST_F(WatchedStorage, WalkAsksThroughTheVirtualOperations) {
  const Query query = QueryBetween(400, 600);
  UnixDbFileStorageIter iter(storage_, query);
  const PacketDbItem* item = iter.next();
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(Times(item->m_Item), "500-500 x77");
  EXPECT_EQ(storage_.noted, (Strings{"RecordCount", "FetchRecord", "FetchRecords"}));
}

TEST_F(WatchedStorage, BothBoundsAskForTheWindowThroughItsVirtualOperation) {
  for (const auto& [start, end] : {std::pair(1500, 1600), std::pair(0, 1)}) {
    const Query query = QueryBetween(start, end);
    LinesOf(5, [&] { UnixDbFileStorageIter(storage_, query).next(); });
    EXPECT_THAT(Log().Texts(5), ::testing::Contains("break at 0")) << start;
    EXPECT_THAT(Log().Texts(5), ::testing::Contains("exit. position at 1, count 1")) << end;
  }
}

TEST_F(WatchedStorage, FetchingDecodesThroughTheVirtualOperation) {
  PacketDbItem item;
  storage_.FetchRecord(0, &item);
  EXPECT_EQ(Times(item.m_Item), "500-500 x77");
}

}  // namespace
}  // namespace packetdb::test
