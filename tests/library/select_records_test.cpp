// Selecting for one query: the iterator that is used, and how it is timed.
#include <utility>

#include "packetdb/storage_iter.h"
#include "tests/library/server_fixture.h"

namespace packetdb::test {
namespace {

class SelectRecords : public ServerTest {
 protected:
  // The level-4 lines of a selection between two clock readings.
  Strings Timed(timeval start, timeval end) {
    Clock().Set(1);
    Clock().QueueReadings({start, end});
    Query query = QueryFor();
    DbItemSelection selection;
    LinesOf(4, [&] { server_.SelectRecords(query, selection); });
    const Strings texts = Log().Texts(4);
    return {texts.begin() + 1, texts.end()};
  }
};

TEST_F(SelectRecords, FillsTheSelectionFromTheRegistry) {
  journal_.AddSeparately({1, 2});
  Query query = QueryFor();
  DbItemSelection selection;
  server_.SelectRecords(query, selection);
  EXPECT_EQ(AllTimes(selection), (Strings{"2-2 x1", "1-1 x1"}));
}

TEST_F(SelectRecords, IsTimed) {
  EXPECT_EQ(Timed({1700000000, 100}, {1700000002, 350}),
            (Strings{"start: 472222:27861111:20.100", "end: 472222:27861111:22.350",
                     "Select has performed in 2 sec 250"}));
}

TEST_F(SelectRecords, EqualMicrosecondsNeedNoCarry) {
  EXPECT_EQ(Timed({60, 5}, {61, 5})[2], "Select has performed in 1 sec 0");
}

TEST_F(SelectRecords, CarryTakesASecondAndMultiplies) {
  EXPECT_EQ(Timed({60, 900}, {62, 1})[2], "Select has performed in 1 sec 999100");
  EXPECT_EQ(Timed({60, 999}, {62, 500})[2], "Select has performed in 1 sec 499999001");
}

TEST_F(SelectRecords, MultiplicationWraps) {
  EXPECT_EQ(Timed({60, 900000}, {62, 100000})[2], "Select has performed in 1 sec 1214852192");
}

TEST_F(SelectRecords, ElapsedSecondsAreTakenWithinTheMinute) {
  EXPECT_EQ(Timed({59, 900000}, {60, 100000})[2], "Select has performed in -60 sec 1214852192");
  EXPECT_EQ(Timed({59, 1}, {60, 2})[2], "Select has performed in -59 sec 1");
}

TEST_F(SelectRecords, SecondsAreTakenIn32Bits) {
  EXPECT_EQ(Timed({0x80000000, 1}, {0x100000000 + 3661, 2}),
            (Strings{"start: -596523:-35194871:-8.1", "end: 1:60:1.2",
                     "Select has performed in 9 sec 1"}));
}

TEST_F(SelectRecords, TimingBelongsToLevelFour) {
  Clock().Set(3661, 7);
  Query query = QueryFor();
  const auto select = [&] {
    DbItemSelection selection;
    server_.SelectRecords(query, selection);
  };
  LinesOf(4, select);
  const Strings marked = Log().Marked(4);
  ASSERT_EQ(marked.size(), 4u);
  for (const auto& line : marked) ExpectLogged(4, line, select);
}

TEST_F(SelectRecords, ClockIsReadAroundTheSelection) {
  Clock().Set(1);
  Query query = QueryFor();
  DbItemSelection selection;
  for (const int level : {0, 4}) {
    Log().SetLevel(level);
    EXPECT_EQ(CallsOf([&] { server_.SelectRecords(query, selection); }),
              (Strings{"gettimeofday()", "RecordCount()", "gettimeofday()"}));
  }
}

// Answers with whatever iterator it was given, none included.
class StorageWithIter : public DatabaseStorage {
 public:
  explicit StorageWithIter(StorageIterPtr iter) : iter_(std::move(iter)) {}
  StorageIterPtr CreateStorageIter(const Query& /*query*/) override { return iter_; }

 private:
  StorageIterPtr iter_;
};

TEST_F(SelectRecords, NoIteratorEndsItWithoutTiming) {
  db_->Register("none", true, boost::make_shared<StorageWithIter>(StorageIterPtr()));
  Clock().Set(1);
  Query query = QueryFor("none");
  DbItemSelection selection;
  EXPECT_EQ(LinesOf(4, [&] { server_.SelectRecords(query, selection); }),
            Strings{"Processing packet db request for none"});
  EXPECT_EQ(Calls().CountOf("gettimeofday"), 0);
}

TEST_F(SelectRecords, EmptyIteratorIsAnIteratorLikeAnyOther) {
  db_->Register("empty", true,
                boost::make_shared<StorageWithIter>(boost::make_shared<EmptyIter>()));
  Ask("empty");
  EXPECT_EQ(Call(), 0);
  EXPECT_EQ(Answers(), Strings{"udbSendCommandAnswer(-3)"});
}

// Selects nothing, and silences queries in the log on the way.
class SilencingIter : public EmptyIter {
 public:
  void SelectRecords(DbItemSelection& /*selection*/) override { Log().SetLevel(3); }
};

TEST_F(SelectRecords, TimingEndsWhenTheLevelFallsMeanwhile) {
  db_->Register("quiet", true,
                boost::make_shared<StorageWithIter>(boost::make_shared<SilencingIter>()));
  Clock().Set(3661, 7);
  Query query = QueryFor("quiet");
  DbItemSelection selection;
  LinesOf(4, [&] { server_.SelectRecords(query, selection); });
  EXPECT_EQ(Log().Texts(4), (Strings{"Processing packet db request for quiet", "start: 1:60:1.7"}));
}

class RaisingIter : public EmptyIter {
 public:
  void SelectRecords(DbItemSelection& /*selection*/) override { Log().SetLevel(4); }
};

TEST_F(SelectRecords, TimingStartsWhenTheLevelRisesMeanwhile) {
  db_->Register("raising", true,
                boost::make_shared<StorageWithIter>(boost::make_shared<RaisingIter>()));
  Clock().Set(3661, 7);
  Query query = QueryFor("raising");
  DbItemSelection selection;
  Log().SetLevel(3);
  server_.SelectRecords(query, selection);
  EXPECT_EQ(Log().Texts(4), (Strings{"end: 1:60:1.7", "Select has performed in 0 sec 0"}));
}

TEST_F(SelectRecords, FailureOfTheFactoryPassesThrough) {
  Query query = QueryFor("eth9");
  DbItemSelection selection;
  EXPECT_THROW(server_.SelectRecords(query, selection), XPacketDb);
}

}  // namespace
}  // namespace packetdb::test
