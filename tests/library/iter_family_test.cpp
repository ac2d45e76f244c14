// The other iterators: limited, empty, and that of the null storage.
#include <boost/make_shared.hpp>

#include "tests/library/file_iter_fixture.h"
#include "tests/support/slots.h"

namespace packetdb::test {
namespace {

// Delivers records at the seconds 1 to `count`, then fails if it is told to.
class CountingIter : public StorageIter {
 public:
  explicit CountingIter(std::uint32_t count, bool fails = false) : count_(count), fails_(fails) {}
  void SelectRecords(DbItemSelection& /*selection*/) override { ADD_FAILURE() << "not drained"; }
  const PacketDbItem* next() override {
    if (delivered_ == count_ && fails_) throw XPacketDb("broken", true);
    if (delivered_ == count_) return nullptr;
    item_ = Record(EventAt(++delivered_));
    return &item_;
  }
  std::uint32_t delivered() const { return delivered_; }

 private:
  std::uint32_t count_;
  bool fails_;
  std::uint32_t delivered_ = 0;
  PacketDbItem item_;
};

class IterFamily : public LibraryTest {
 protected:
  static Strings Newest(std::uint32_t count, unsigned int limit, DbItemSelection selection = {}) {
    LimitedStorageIter(boost::make_shared<CountingIter>(count), limit).SelectRecords(selection);
    return AllTimes(selection);
  }
};

TEST_F(IterFamily, LimitKeepsTheNewest) {
  EXPECT_EQ(Newest(10, 3), (Strings{"10-10 x1", "9-9 x1", "8-8 x1"}));
}

TEST_F(IterFamily, LimitReadsTheWholeRange) {
  const auto source = boost::make_shared<CountingIter>(10);
  DbItemSelection selection;
  LimitedStorageIter(source, 3).SelectRecords(selection);
  EXPECT_EQ(source->delivered(), 10u);
}

TEST_F(IterFamily, LimitOfAsManyOrMoreChangesNothing) {
  EXPECT_EQ(Newest(3, 3).size(), 3u);
  EXPECT_EQ(Newest(3, 4).size(), 3u);
  EXPECT_EQ(Newest(3, 0xffffffff).size(), 3u);
  EXPECT_EQ(Newest(0, 1), Strings{});
}

TEST_F(IterFamily, LimitOfZeroKeepsNothing) { EXPECT_EQ(Newest(3, 0), Strings{}); }

TEST_F(IterFamily, EarlierRecordsAreTheFirstToGo) {
  const DbItemSelection before{Record(EventAt(102)), Record(EventAt(101))};
  EXPECT_EQ(Newest(2, 2, before), (Strings{"2-2 x1", "1-1 x1", "102-102 x1", "101-101 x1"}));
  EXPECT_EQ(Newest(3, 2, before), (Strings{"3-3 x1", "2-2 x1", "1-1 x1", "102-102 x1"}));
  EXPECT_EQ(Newest(5, 2, before), (Strings{"5-5 x1", "4-4 x1", "3-3 x1", "2-2 x1"}));
}

TEST_F(IterFamily, LimitedStepsAreThoseOfTheWrapped) {
  LimitedStorageIter iter(boost::make_shared<CountingIter>(2), 1);
  EXPECT_EQ(Times(iter.next()->m_Item), "1-1 x1");
  EXPECT_EQ(Times(iter.next()->m_Item), "2-2 x1");
  EXPECT_EQ(iter.next(), nullptr);
}

TEST_F(IterFamily, FailureOfTheWrappedPassesThrough) {
  DbItemSelection selection;
  LimitedStorageIter iter(boost::make_shared<CountingIter>(3, true), 2);
  try {
    iter.SelectRecords(selection);
    ADD_FAILURE();
  } catch (const XPacketDb& failure) {
    EXPECT_STREQ(failure.what(), "broken");
  }
  EXPECT_EQ(AllTimes(selection), (Strings{"3-3 x1", "2-2 x1"}));
}

TEST_F(IterFamily, LimiterSharesTheWrapped) {
  const auto source = boost::make_shared<CountingIter>(1);
  const LimitedStorageIter iter(source, 9);
  EXPECT_EQ(source.use_count(), 2);
  EXPECT_EQ(Peek<const void*>(&iter, sizeof(void*)), source.get());
  EXPECT_EQ(Peek<unsigned int>(&iter, sizeof(void*) + sizeof(StorageIterPtr)), 9u);
}

// Selects through the virtual slot, as a derived iterator may rely on.
TEST_F(IterFamily, LimiterStepsThroughItsVirtualNext) {
  class Two : public LimitedStorageIter {
   public:
    Two() : LimitedStorageIter(boost::make_shared<CountingIter>(9), 5) {}
    const PacketDbItem* next() override {
      return ++calls_ > 2 ? nullptr : LimitedStorageIter::next();
    }

   private:
    int calls_ = 0;
  };
  DbItemSelection selection;
  Two().SelectRecords(selection);
  EXPECT_EQ(selection.size(), 2u);
}

TEST_F(IterFamily, NullStorageIteratorDoesNothing) {
  const DatabaseStorage storage;
  const Query query = QueryFor();
  DatabaseIter iter(storage, query);
  DbItemSelection selection{Record(EventAt(1))};
  iter.SelectRecords(selection);
  EXPECT_EQ(selection.size(), 1u);
  EXPECT_EQ(iter.next(), nullptr);
  EXPECT_EQ(Peek<const void*>(&iter, sizeof(void*)), &query);
  EXPECT_EQ(Peek<const void*>(&iter, 2 * sizeof(void*)), &storage);
}

TEST_F(IterFamily, EmptyIteratorDoesNothing) {
  EmptyIter iter;
  DbItemSelection selection{Record(EventAt(1))};
  iter.SelectRecords(selection);
  EXPECT_EQ(selection.size(), 1u);
  EXPECT_EQ(iter.next(), nullptr);
  EXPECT_EQ(sizeof(EmptyIter), sizeof(void*));
}

TEST_F(IterFamily, FileIteratorDrainsItsVirtualNext) {
  class OnlyOne : public UnixDbFileStorageIter {
   public:
    using UnixDbFileStorageIter::UnixDbFileStorageIter;
    const PacketDbItem* next() override {
      return ++calls_ > 1 ? nullptr : UnixDbFileStorageIter::next();
    }

   private:
    int calls_ = 0;
  };
  Journal journal;
  journal.AddSeparately({1, 2, 3});
  const Query query = QueryBetween(0, 10);
  DbItemSelection selection;
  OnlyOne(journal.storage(), query).SelectRecords(selection);
  EXPECT_EQ(AllTimes(selection), Strings{"1-1 x1"});
}

TEST_F(IterFamily, LimitOfAQueryBoundsTheSelection) {
  Journal journal;
  for (std::uint32_t second = 1; second <= 10; ++second) journal.AddSeparately({second});
  Query query = QueryBetween(0, 100);
  query.m_RecCount = 3;
  DbItemSelection selection;
  CallsOf([&] { journal.storage().CreateStorageIter(query)->SelectRecords(selection); });
  EXPECT_EQ(AllTimes(selection), (Strings{"10-10 x1", "9-9 x1", "8-8 x1"}));
  EXPECT_EQ(Calls().Of("ReadRecords"), Strings{"ReadRecords(0, 10)"});
}

}  // namespace
}  // namespace packetdb::test
