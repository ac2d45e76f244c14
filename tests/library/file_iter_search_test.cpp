// Finding the start of a time range.
#include "tests/library/file_iter_fixture.h"
#include "tests/support/allocation.h"
#include "tests/support/slots.h"

namespace packetdb::test {
namespace {

TEST_F(FileIterTest, EmptyJournalSelectsNothing) {
  JournalAt({});
  EXPECT_EQ(CallsOf([this] { EXPECT_EQ(Selected(Query1980(0, 10)), Strings{}); }),
            Strings{"RecordCount()"});
  EXPECT_EQ(Traces(Query1980(0, 10)),
            (Strings{"have records 0", "break at 0", "exit. position at 0, count 0"}));
}

TEST_F(FileIterTest, ConstructionReadsNothing) {
  JournalAt({1});
  const Query query = Query1980(0, 10);
  EXPECT_EQ(CallsOf([&] { UnixDbFileStorageIter(journal_->storage(), query); }), Strings{});
}

TEST_F(FileIterTest, SearchHalvesTheJournal) {
  JournalAt({10, 20, 30, 40, 50, 60, 70});
  CallsOf([this] { Selected(Query1980(45, 45)); });
  EXPECT_EQ(Calls().Of("ReadRecord"), (Strings{"ReadRecord(3)", "ReadRecord(5)", "ReadRecord(4)"}));
}

TEST_F(FileIterTest, SearchIsTraced) {
  JournalAt({10, 20, 30, 40, 50, 60, 70});
  const Strings traces = Traces(Query1980(45, 45));
  EXPECT_EQ(Strings(traces.begin(), traces.begin() + 5),
            (Strings{"have records 7", "record matches at 3'th position, left 0, right 7",
                     "did not match, let's shift to left, i 5, left 4, right 7",
                     "did not match, let's shift to left, i 4, left 4, right 5", "break at 4"}));
}

TEST_F(FileIterTest, EveryTraceOfTheSearchBelongsToLevelFive) {
  JournalAt({10, 20, 30, 40, 50, 60, 70});
  Traces(Query1980(45, 45));
  for (const auto& line : Log().Lines()) EXPECT_EQ(line.level, 5) << line.Text();
}

TEST_F(FileIterTest, AllRecordsTooOldNeedNoBatch) {
  JournalAt({10, 20, 30});
  CallsOf([this] { EXPECT_EQ(Selected(Query1980(31, 100)), Strings{}); });
  EXPECT_EQ(Calls().CountOf("ReadRecords"), 0);
  EXPECT_EQ(Traces(Query1980(31, 100)).back(), "exit. position at 3, count 3");
}

TEST_F(FileIterTest, BeginsAtTheFirstOfSeveralWithTheSameTime) {
  JournalAt({10, 20, 20, 20, 30});
  CallsOf([this] { Selected(Query1980(20, 20)); });
  EXPECT_EQ(Calls().Of("ReadRecords"), Strings{"ReadRecords(1, 4)"});
  EXPECT_EQ(Selected(Query1980(20, 20)).size(), 3u);
}

TEST_F(FileIterTest, StartIsTestedByTheFirstTime) {
  journal_ = std::make_unique<Journal>();
  journal_->Add(EventAt(10).Last(100));
  EXPECT_EQ(Selected(Query1980(11, 200)), Strings{});
  EXPECT_EQ(Selected(Query1980(10, 200)), Strings{"10-100 x1"});
}

TEST_F(FileIterTest, WindowMovesTheStartBack) {
  JournalAt({9, 10, 11}, 60);
  CallsOf([this] { Selected(Query1980(70, 100)); });
  EXPECT_EQ(Calls().Of("ReadRecords"), Strings{"ReadRecords(1, 2)"});
}

TEST_F(FileIterTest, StartBoundMayBeNegative) {
  JournalAt({0, 5}, 1000);
  Query query = Query1980(0, 10);
  query.m_TimeStart = 0;
  EXPECT_EQ(Selected(query).size(), 2u);
  query.m_TimeStart = -100000;
  CallsOf([&] { Selected(query); });
  EXPECT_EQ(Calls().Of("ReadRecords"), Strings{"ReadRecords(0, 2)"});
}

TEST_F(FileIterTest, RecordTimesAreWidenedWithoutSign) {
  JournalAt({0x7fffffff, 0x80000000, 0xc0000000});
  CallsOf([this] { Selected(Query1980(0x80000000, 0xc0000000)); });
  EXPECT_EQ(Calls().Of("ReadRecords"), Strings{"ReadRecords(1, 2)"});
}

TEST_F(FileIterTest, FailedReadInTheSearchCountsAsTimeZero) {
  JournalAt({10, 20, 30, 40});
  Calls().Script("ReadRecord", {-1, -1});
  CallsOf([this] { Selected(Query1980(15, 100)); });
  EXPECT_EQ(Calls().Of("ReadRecord"), (Strings{"ReadRecord(2)", "ReadRecord(3)"}));
  EXPECT_EQ(Calls().CountOf("ReadRecords"), 0);
}

TEST_F(FileIterTest, NegativeCountSkipsTheSearch) {
  class Negative : public DbFileStorage {
   public:
    int RecordCount() const override { return -2; }
  };
  const Negative storage;
  const Query query = Query1980(0, 10);
  UnixDbFileStorageIter iter(storage, query);
  Calls().Forget();
  EXPECT_THROW(iter.next(), XPacketDb);
  EXPECT_EQ(Calls().All(), Strings{"ReadRecords(0, 100)"});
}

TEST_F(FileIterTest, CountIsTakenOnce) {
  JournalAt({10, 20});
  const Query query = Query1980(0, 100);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  EXPECT_EQ(Times(iter.next()->m_Item), "10-10 x1");
  journal_->AddSeparately({30});
  EXPECT_EQ(Times(iter.next()->m_Item), "20-20 x1");
  EXPECT_EQ(iter.next(), nullptr);
}

TEST_F(FileIterTest, RecordsAddedBeforeTheFirstStepAreSeen) {
  JournalAt({10});
  const Query query = Query1980(0, 100);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  journal_->AddSeparately({30});
  iter.next();
  EXPECT_NE(iter.next(), nullptr);
}

TEST_F(FileIterTest, SearchHappensOnce) {
  JournalAt({10, 20});
  const Query query = Query1980(0, 100);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  iter.next();
  EXPECT_EQ(CallsOf([&] {
              while (iter.next() != nullptr) {
              }
            }),
            Strings{});
}

TEST_F(FileIterTest, StartsUnsearchedWithItsEndBound) {
  JournalAt({10}, 60);
  const Query query = Query1980(0, 100);
  const UnixDbFileStorageIter iter(journal_->storage(), query);
  const std::size_t item = sizeof(void*);
  const std::size_t buffer = item + sizeof(PacketDbItem);
  EXPECT_EQ(Peek<std::uint64_t>(&iter, item), 0u);
  EXPECT_EQ(Peek<const void*>(&iter, buffer + 8), &query);
  EXPECT_EQ(Peek<const void*>(&iter, buffer + 16), &journal_->storage());
  EXPECT_EQ(Peek<std::uint32_t>(&iter, buffer + 24), 0xffffffffu);
  EXPECT_EQ(Peek<std::uint32_t>(&iter, buffer + 28), 0u);
  EXPECT_EQ(Peek<std::int32_t>(&iter, buffer + 32), -1);
  EXPECT_EQ(Peek<std::int32_t>(&iter, buffer + 36), 0);
  EXPECT_EQ(Peek<std::int64_t>(&iter, buffer + 40), 160);
}

TEST_F(FileIterTest, StepsWithinABatchAllocateNothing) {
  JournalAt({10, 20, 30, 40, 50});
  const Query query = Query1980(0, 100);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  iter.next();
  const auto before = AllocationsMade();
  for (int i = 0; i < 4; ++i) EXPECT_NE(iter.next(), nullptr);
  EXPECT_EQ(iter.next(), nullptr);
  EXPECT_EQ(AllocationsMade(), before);
}

TEST_F(FileIterTest, ExhaustedMemoryLeavesNothingBehind) {
  JournalAt({10});
  const Query query = Query1980(0, 100);
  const auto before = AllocationsAlive();
  const FailAllocationsOf no_buffers(7200);
  EXPECT_THROW(UnixDbFileStorageIter(journal_->storage(), query), std::bad_alloc);
  EXPECT_EQ(AllocationsAlive(), before);
}

TEST_F(FileIterTest, BufferIsReleased) {
  JournalAt({10, 20});
  const Query query = Query1980(0, 100);
  const auto before = AllocationsAlive();
  { const UnixDbFileStorageIter iter(journal_->storage(), query); }
  EXPECT_EQ(AllocationsAlive(), before);
}

}  // namespace
}  // namespace packetdb::test
