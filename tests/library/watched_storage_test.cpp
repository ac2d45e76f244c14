// A storage derived from the file storage: what the library asks of it, it asks through the virtual
// operations.
#include <stdexcept>
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

// Leaves the item alone at one position, as storages may that cannot read a record.
class GappyFileStorage : public DbFileStorage {
 public:
  explicit GappyFileStorage(int gap) : gap_(gap) {}
  int FetchRecord(int position, PacketDbItem* item) const override {
    return position == gap_ ? -1 : DbFileStorage::FetchRecord(position, item);
  }

 private:
  int gap_;
};

class SearchOverAGap : public LibraryTest {
 protected:
  // Where the search for second 35 ends among seven records at 10, 20, ... 70.
  static Strings EndOfSearch(int gap) {
    GappyFileStorage storage(gap);
    storage.Init("/gappy", 10, 5, 0);
    for (std::uint32_t second = 10; second <= 70; second += 10) {
      const Event event = EventAt(second).Src(second);
      storage.AddRecord(&event, 0, "");
    }
    const Query query = QueryBetween(35, 100);
    LinesOf(5, [&] { UnixDbFileStorageIter(storage, query).next(); });
    Strings texts = Log().Texts(5);
    std::erase_if(texts, [](const auto& text) { return !text.starts_with("break at"); });
    Files().Reset();
    return texts;
  }
};

TEST_F(SearchOverAGap, ReadsTheFirstRecordThatItCannotHaveAsTimeZero) {
  EXPECT_EQ(EndOfSearch(3), Strings{"break at 4"});
}

TEST_F(SearchOverAGap, ReadsALaterRecordThatItCannotHaveAsTheOneBefore) {
  EXPECT_EQ(EndOfSearch(1), Strings{"break at 1"});
}

// Throws from one operation, once.
class BreakingFileStorage : public DbFileStorage {
 public:
  explicit BreakingFileStorage(std::string operation) : operation_(std::move(operation)) {}
  int RecordCount() const override { return Reach("RecordCount"), DbFileStorage::RecordCount(); }
  int FetchRecord(int position, PacketDbItem* item) const override {
    return Reach("FetchRecord"), DbFileStorage::FetchRecord(position, item);
  }
  int FetchRecords(int first, void* buffer, int count) const override {
    return Reach("FetchRecords"), DbFileStorage::FetchRecords(first, buffer, count);
  }

 private:
  void Reach(const std::string& operation) const {
    if (operation != operation_) return;
    operation_.clear();
    throw std::out_of_range(operation);
  }

  mutable std::string operation_;
};

TEST_F(WatchedStorage, WalkGoesOnWhereAStorageThrew) {
  for (const std::string operation : {"RecordCount", "FetchRecord", "FetchRecords"}) {
    BreakingFileStorage storage(operation);
    storage.Init("/" + operation, 10, 5, 0);
    const Event event = EventAt(500);
    storage.AddRecord(&event, 0, "");
    const Query query = QueryBetween(400, 600);
    UnixDbFileStorageIter iter(storage, query);
    EXPECT_THROW(iter.next(), std::out_of_range) << operation;
    const PacketDbItem* item = iter.next();
    ASSERT_NE(item, nullptr) << operation;
    EXPECT_EQ(Times(item->m_Item), "500-500 x1");
    EXPECT_EQ(iter.next(), nullptr);
  }
}

}  // namespace
}  // namespace packetdb::test
