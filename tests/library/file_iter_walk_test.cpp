// Walking from the start of a range to its end.
#include <cstdint>
#include <numeric>

#include "tests/library/file_iter_fixture.h"

namespace packetdb::test {
namespace {

std::vector<std::uint32_t> Seconds(std::uint32_t count) {
  std::vector<std::uint32_t> seconds(count);
  std::iota(seconds.begin(), seconds.end(), 1);
  return seconds;
}

TEST_F(FileIterTest, SelectionReadsNewestFirst) {
  JournalAt({10, 20, 30});
  EXPECT_EQ(Selected(Query1980(0, 100)), (Strings{"30-30 x1", "20-20 x1", "10-10 x1"}));
}

TEST_F(FileIterTest, SelectionKeepsWhatItHeld) {
  JournalAt({10});
  const Query query = Query1980(0, 100);
  DbItemSelection selection{Record(EventAt(99))};
  UnixDbFileStorageIter(journal_->storage(), query).SelectRecords(selection);
  EXPECT_EQ(AllTimes(selection), (Strings{"10-10 x1", "99-99 x1"}));
}

TEST_F(FileIterTest, StepsGoFromOldToNew) {
  JournalAt({10, 20});
  const Query query = Query1980(0, 100);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  const PacketDbItem* first = iter.next();
  EXPECT_EQ(Times(first->m_Item), "10-10 x1");
  EXPECT_EQ(iter.next(), first);
  EXPECT_EQ(Times(first->m_Item), "20-20 x1");
  EXPECT_EQ(iter.next(), nullptr);
}

TEST_F(FileIterTest, RecordsComeBackDecoded) {
  journal_ = std::make_unique<Journal>();
  journal_->Add(DistinctEvent(), 55);
  Query query = Query1980(0, 0xffffffff);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  PacketDbItem expected;
  journal_->storage().FetchRecord(0, &expected);
  EXPECT_EQ(Text(*iter.next()), Text(expected));
}

TEST_F(FileIterTest, ReadsBatchesOfOneHundred) {
  JournalAt(Seconds(250));
  CallsOf([this] { EXPECT_EQ(Selected(Query1980(0, 1000)).size(), 250u); });
  EXPECT_EQ(Calls().Of("ReadRecords"),
            (Strings{"ReadRecords(0, 100)", "ReadRecords(100, 100)", "ReadRecords(200, 50)"}));
}

TEST_F(FileIterTest, FullBatchesNeedNoMore) {
  JournalAt(Seconds(200));
  CallsOf([this] { Selected(Query1980(0, 1000)); });
  EXPECT_EQ(Calls().Of("ReadRecords"), (Strings{"ReadRecords(0, 100)", "ReadRecords(100, 100)"}));
}

TEST_F(FileIterTest, BatchesBeginAtTheStartOfTheRange) {
  JournalAt(Seconds(250));
  CallsOf([this] { Selected(Query1980(31, 1000)); });
  EXPECT_EQ(Calls().Of("ReadRecords"),
            (Strings{"ReadRecords(30, 100)", "ReadRecords(130, 100)", "ReadRecords(230, 20)"}));
}

TEST_F(FileIterTest, ShortBatchIsFollowedByAnother) {
  JournalAt(Seconds(150));
  Calls().Script("ReadRecords", {30, 1});
  CallsOf([this] { EXPECT_EQ(Selected(Query1980(0, 1000)).size(), 150u); });
  EXPECT_EQ(Calls().Of("ReadRecords"), (Strings{"ReadRecords(0, 100)", "ReadRecords(30, 100)",
                                                "ReadRecords(31, 100)", "ReadRecords(131, 19)"}));
}

TEST_F(FileIterTest, StopsBehindTheEndOfTheRange) {
  JournalAt(Seconds(250));
  CallsOf([this] { EXPECT_EQ(Selected(Query1980(0, 50)).size(), 50u); });
  EXPECT_EQ(Calls().CountOf("ReadRecords"), 1);
}

TEST_F(FileIterTest, EndIsTestedByTheLastTime) {
  journal_ = std::make_unique<Journal>();
  journal_->Add(EventAt(10).Last(100).Src(1));
  journal_->Add(EventAt(11).Src(2));
  EXPECT_EQ(Selected(Query1980(0, 99)), Strings{});
  EXPECT_EQ(Selected(Query1980(0, 100)).size(), 2u);
}

TEST_F(FileIterTest, RecordBeyondTheEndIsNotMatched) {
  JournalAt({10});
  EXPECT_EQ(Traces(Query1980(0, 5)),
            (Strings{"have records 1", "did not match, let's shift to left, i 0, left 0, right 1",
                     "break at 0", "out of range at 0 position", "exit. position at 0, count 1"}));
  for (const auto& line : Log().Lines()) EXPECT_EQ(line.file, "src/storage_iter");
}

TEST_F(FileIterTest, WindowMovesTheEndOn) {
  JournalAt({100, 160, 161}, 60);
  Query query = Query1980(0, 100);
  const Strings traces = Traces(query);
  EXPECT_THAT(traces, ::testing::Contains("out of range at 2 position"));
  EXPECT_EQ(Selected(query), Strings{"100-100 x1"});
}

TEST_F(FileIterTest, LastTimeIsWidenedWithoutSign) {
  journal_ = std::make_unique<Journal>();
  journal_->Add(EventAt(10).Last(0x80000000));
  journal_->Add(EventAt(11).Src(1));
  EXPECT_EQ(Traces(Query1980(0, 100)).end()[-2], "out of range at 0 position");
  EXPECT_EQ(Selected(Query1980(0, 0x80000000)).size(), 2u);
}

TEST_F(FileIterTest, EndBoundWraps) {
  Query query = Query1980(0, 0);
  query.m_TimeEnd = INT64_MAX;
  JournalAt({10}, 60);
  EXPECT_EQ(Selected(query), Strings{"10-10 x1"}) << "there and back";
  journal_.reset();
  JournalAt({10}, time_t{TIME_1980_OFFSET} + 1);
  EXPECT_EQ(Traces(query).end()[-2], "out of range at 0 position");
}

TEST_F(FileIterTest, BoundsWrapWithTheWidestWindow) {
  JournalAt({10, 20}, INT64_MIN);
  const Strings traces = Traces(Query1980(30, 40));
  EXPECT_THAT(traces, ::testing::Contains("break at 0"));
  EXPECT_EQ(traces.end()[-2], "out of range at 0 position");
}

TEST_F(FileIterTest, EndBoundIsSigned) {
  JournalAt({0, 10});
  Query query = Query1980(0, 0);
  query.m_TimeEnd = -1;
  EXPECT_EQ(Traces(query).end()[-2], "out of range at 0 position");
  EXPECT_EQ(Selected(query), Strings{});
}

TEST_F(FileIterTest, RejectedRecordDoesNotEndTheWalk) {
  journal_ = std::make_unique<Journal>();
  for (std::uint32_t code : {5u, 6u, 5u}) journal_->Add(EventAt(10 * code).Code(code).Src(code));
  Query query = Query1980(0, 1000);
  query.m_Errcodes.push_back(6);
  EXPECT_EQ(Selected(query), Strings{"60-60 x1"});
}

TEST_F(FileIterTest, WalkIsTraced) {
  JournalAt({10, 20});
  const Strings traces = Traces(Query1980(0, 15));
  EXPECT_EQ(Strings(traces.end() - 3, traces.end()),
            (Strings{"returning item to server, m_index_ 1", "out of range at 1 position",
                     "exit. position at 1, count 2"}));
}

TEST_F(FileIterTest, LastRecordOfABatchIsReturnedAtIndexZero) {
  JournalAt({10, 20});
  const Strings traces = Traces(Query1980(0, 100));
  EXPECT_EQ(Strings(traces.end() - 3, traces.end()),
            (Strings{"returning item to server, m_index_ 1", "returning item to server, m_index_ 0",
                     "exit. position at 2, count 2"}));
}

TEST_F(FileIterTest, EndOfTheJournalIsFinal) {
  JournalAt({10, 20});
  const Query query = Query1980(0, 100);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  while (iter.next() != nullptr) {
  }
  journal_->AddSeparately({30});
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(iter.next(), nullptr); }), Strings{});
  }
}

TEST_F(FileIterTest, EndOfTheRangeIsFinal) {
  JournalAt({10, 20});
  const Query query = Query1980(0, 15);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  iter.next();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(iter.next(), nullptr); }), Strings{});
  }
}

// Nothing was taken out of the batch, so each step reads it again.
TEST_F(FileIterTest, RangeThatEndsBeforeItsFirstRecordIsFinal) {
  JournalAt({10, 20});
  const Query query = Query1980(0, 5);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  iter.next();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(CallsOf([&] { EXPECT_EQ(iter.next(), nullptr); }), Strings{"ReadRecords(0, 2)"});
  }
}

TEST_F(FileIterTest, EndIsTracedEveryTime) {
  JournalAt({10});
  const Query query = Query1980(0, 100);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  while (iter.next() != nullptr) {
  }
  for (int i = 0; i < 2; ++i) {
    LinesOf(5, [&] { iter.next(); });
    EXPECT_EQ(Log().Texts(5), Strings{"exit. position at 1, count 1"});
  }
}

TEST_F(FileIterTest, EndOfRangeIsTracedEveryTime) {
  JournalAt({10});
  const Query query = Query1980(0, 5);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  iter.next();
  LinesOf(5, [&] { iter.next(); });
  EXPECT_EQ(Log().Texts(5),
            (Strings{"out of range at 0 position", "exit. position at 0, count 1"}));
}

TEST_F(FileIterTest, FailedBatchIsFatalAndHasNoText) {
  for (const int result : {0, -1, -77}) {
    JournalAt({10, 20});
    Calls().Script("ReadRecords", {result});
    try {
      Selected(Query1980(0, 100));
      ADD_FAILURE() << "no exception for " << result;
    } catch (const XPacketDb& failure) {
      EXPECT_STREQ(failure.what(), "");
      EXPECT_TRUE(failure.m_Fatal);
    }
    journal_.reset();
  }
}

TEST_F(FileIterTest, FailedBatchIsTraced) {
  JournalAt({10, 20, 30});
  Calls().Script("ReadRecords", {-77});
  LinesOf(5, [this] { EXPECT_THROW(Selected(Query1980(20, 100)), XPacketDb); });
  EXPECT_EQ(Log().Texts(5).back(), "failed with error -77, m_pos_ 1, count 3");
}

TEST_F(FileIterTest, FailureKeepsWhatWasSelected) {
  JournalAt(Seconds(150));
  Calls().Script("ReadRecords", {100, -1});
  const Query query = Query1980(0, 1000);
  DbItemSelection selection;
  UnixDbFileStorageIter iter(journal_->storage(), query);
  EXPECT_THROW(iter.SelectRecords(selection), XPacketDb);
  EXPECT_EQ(selection.size(), 100u);
}

TEST_F(FileIterTest, WalkCanGoOnAfterAFailedBatch) {
  JournalAt({10, 20});
  Calls().Script("ReadRecords", {-1});
  const Query query = Query1980(0, 1000);
  UnixDbFileStorageIter iter(journal_->storage(), query);
  EXPECT_THROW(iter.next(), XPacketDb);
  EXPECT_EQ(Times(iter.next()->m_Item), "10-10 x1");
}

TEST_F(FileIterTest, TracesBelongToLevelFive) {
  JournalAt({10, 20});
  Log().SetLevel(4);
  Selected(Query1980(0, 15));
  EXPECT_TRUE(Log().Attempts().empty());
}

TEST_F(FileIterTest, WalksARingFromItsOldestRecord) {
  journal_ = std::make_unique<Journal>(3);
  journal_->AddSeparately({10, 20, 30, 40, 50});
  EXPECT_EQ(Selected(Query1980(0, 100)), (Strings{"50-50 x1", "40-40 x1", "30-30 x1"}));
}

}  // namespace
}  // namespace packetdb::test
