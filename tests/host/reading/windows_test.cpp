#include "host/reading/windows.h"

#include <algorithm>
#include <gmock/gmock.h>

#include "tests/host/reading/fake_source.h"

namespace packetdb::host::test {
namespace {

using packetdb::test::Random;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::Le;
using testing::Lt;
using testing::SizeIs;

// The numbers of the rows in the order in which they were given, and what came of it.
struct Told {
  std::vector<int> numbers;
  ReadResult result;
};

class WindowedReading {
 public:
  explicit WindowedReading(FakeSource& source, std::uint32_t aim = WindowReader::kAim)
      : reader_(source, cancelled, aim) {}

  Told All(ReadOrder order, const Query& query, const RowTest& wanted = {}) {
    Told told;
    told.result = reader_.ReadAll(order, query, wanted, Into(&told));
    return told;
  }
  Told Newest(std::size_t most, const Query& query, const RowTest& wanted = {}) {
    Told told;
    told.result = reader_.ReadNewest(most, query, wanted, Into(&told));
    return told;
  }

  std::atomic<bool> cancelled = false;
  std::size_t enough = 1'000'000;

 private:
  RowSink Into(Told* told) const {
    return [this, told](const Row& row) {
      told->numbers.push_back(row.event.m_SrcPort);
      return told->numbers.size() < enough;
    };
  }

  WindowReader reader_;
};

// So many records, one a second.
std::vector<CDrvErrorItemV4> OneASecond(std::uint16_t count) {
  std::vector<CDrvErrorItemV4> records;
  for (std::uint16_t i = 1; i <= count; ++i) records.push_back(RecordSeen(kTime + i, kTime + i, i));
  return records;
}

std::vector<CDrvErrorItemV4> InOneSecond(std::uint16_t count) {
  std::vector<CDrvErrorItemV4> records;
  for (std::uint16_t i = 1; i <= count; ++i) records.push_back(RecordSeen(kTime, kTime, i));
  return records;
}

TEST(WindowReaderTest, GivesEveryRowInTheOrderAskedFor) {
  FakeSource source(OneASecond(3));
  WindowedReading reading(source);
  const Query all = Between(0, kForEver);
  EXPECT_THAT(reading.All(ReadOrder::kNewestFirst, all).numbers, ElementsAre(3, 2, 1));
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, all).numbers, ElementsAre(1, 2, 3));
}

TEST(WindowReaderTest, TellsThatNothingMatched) {
  FakeSource source({});
  WindowedReading reading(source);
  const Query all = Between(0, kForEver);
  EXPECT_EQ(reading.All(ReadOrder::kNewestFirst, all).result.outcome, ReadOutcome::kNothing);
  EXPECT_EQ(reading.All(ReadOrder::kOldestFirst, all).result.outcome, ReadOutcome::kNothing);
  EXPECT_EQ(reading.Newest(5, all).result.outcome, ReadOutcome::kNothing);
}

TEST(WindowReaderTest, GivesRowsThatBeganBeforeTheRangeOnce) {
  FakeSource source({RecordSeen(kTime - 9, kTime, 1), RecordSeen(kTime - 9, kTime - 1, 2),
                     RecordSeen(kTime - 5, kTime + 40, 3), RecordSeen(kTime + 1, kTime + 1, 4)});
  WindowedReading reading(source);
  const Query since = Between(kTime, kForEver);
  EXPECT_THAT(reading.All(ReadOrder::kNewestFirst, since).numbers, ElementsAre(4, 3, 1));
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, since).numbers, ElementsAre(1, 3, 4));
}

TEST(WindowReaderTest, KeepsAnswersSmall) {
  FakeSource source(OneASecond(20000));
  WindowedReading reading(source, 100);
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, Between(0, kForEver)).numbers, SizeIs(20000));
  EXPECT_THAT(reading.All(ReadOrder::kNewestFirst, Between(0, kForEver)).numbers, SizeIs(20000));
  EXPECT_THAT(source.largest, Le(200u));
  EXPECT_THAT(source.reads, Lt(1000));
}

TEST(WindowReaderTest, CrossesEmptyYearsInFewQuestions) {
  FakeSource source({RecordSeen(kTime - 600'000'000, kTime - 600'000'000, 1),
                     RecordSeen(kTime, kTime, 2), RecordSeen(kTime, kTime, 3)});
  WindowedReading reading(source, 16);
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, Between(0, kForEver)).numbers, SizeIs(3));
  EXPECT_THAT(reading.Newest(9, Between(0, kForEver)).numbers, SizeIs(3));
  EXPECT_THAT(source.reads, Lt(40));
}

TEST(WindowReaderTest, ReadsAJournalOfWhichNothingIsKnown) {
  FakeSource source(OneASecond(500));
  source.tells = false;
  WindowedReading reading(source, 16);
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, Between(0, kForEver)).numbers, SizeIs(500));
  EXPECT_THAT(reading.All(ReadOrder::kNewestFirst, Between(0, kForEver)).numbers, SizeIs(500));
}

TEST(WindowReaderTest, FindsTheNewestWithoutReadingTheRest) {
  FakeSource source(OneASecond(50000));
  WindowedReading reading(source);
  EXPECT_THAT(reading.Newest(3, Between(0, kForEver)).numbers, ElementsAre(50000, 49999, 49998));
  EXPECT_THAT(source.largest, Lt(1000u));
  EXPECT_EQ(source.reads, 1);
}

TEST(WindowReaderTest, LooksFurtherBackForTheNewestThatAreWanted) {
  FakeSource source(OneASecond(50000));
  WindowedReading reading(source);
  const auto wanted = [](const Row& row) { return row.event.m_SrcPort % 20000 == 7; };
  const Told told = reading.Newest(5, Between(0, kForEver), wanted);
  EXPECT_THAT(told.numbers, ElementsAre(40007, 20007, 7));
  EXPECT_EQ(told.result.outcome, ReadOutcome::kDone);
  EXPECT_THAT(source.reads, Lt(30));
}

TEST(WindowReaderTest, ReadsASecondThatHasMoreRowsThanAWindow) {
  FakeSource source(InOneSecond(5000));
  WindowedReading reading(source, 16);
  EXPECT_THAT(reading.All(ReadOrder::kNewestFirst, Between(0, kForEver)).numbers, SizeIs(5000));
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, Between(0, kForEver)).numbers, SizeIs(5000));
  EXPECT_THAT(reading.Newest(10, Between(0, kForEver)).numbers,
              ElementsAre(5000, 4999, 4998, 4997, 4996, 4995, 4994, 4993, 4992, 4991));
}

TEST(WindowReaderTest, AsksForFewerRowsWhenTheSourceRefuses) {
  FakeSource source(OneASecond(3000));
  source.most_rows = 10;
  WindowedReading reading(source, 500);
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, Between(0, kForEver)).numbers, SizeIs(3000));
  EXPECT_THAT(reading.All(ReadOrder::kNewestFirst, Between(0, kForEver)).numbers, SizeIs(3000));
}

TEST(WindowReaderTest, SaysWhichSecondHasMoreRowsThanAnAnswerMayHave) {
  FakeSource source(InOneSecond(100));
  source.most_rows = 99;
  WindowedReading reading(source, 500);
  for (const ReadOrder order : {ReadOrder::kNewestFirst, ReadOrder::kOldestFirst}) {
    const Told told = reading.All(order, Between(0, kForEver));
    EXPECT_EQ(told.result.outcome, ReadOutcome::kTooManyRows);
    EXPECT_THAT(told.result.reason, HasSubstr("more than 99 rows"));
    EXPECT_THAT(told.numbers, SizeIs(0));
  }
}

TEST(WindowReaderTest, AsksForLessTimeWhenAnAnswerIsTooMuchWork) {
  FakeSource source(OneASecond(3000));
  source.most_work = 20;
  WindowedReading reading(source, 500);
  EXPECT_THAT(reading.All(ReadOrder::kOldestFirst, Between(0, kForEver)).numbers, SizeIs(3000));
  EXPECT_THAT(reading.All(ReadOrder::kNewestFirst, Between(0, kForEver)).numbers, SizeIs(3000));
}

TEST(WindowReaderTest, GivesUpWhenASecondIsTooMuchWork) {
  FakeSource source(InOneSecond(100));
  source.most_work = 99;
  WindowedReading reading(source, 16);
  const Told told = reading.All(ReadOrder::kNewestFirst, Between(0, kForEver));
  EXPECT_EQ(told.result.outcome, ReadOutcome::kTooMuchWork);
  EXPECT_EQ(told.result.reason, "memory");
}

TEST(WindowReaderTest, GivesUpAtOnceWhenNobodyIsThere) {
  FakeSource source(OneASecond(3));
  source.failure = ReadOutcome::kUnreachable;
  WindowedReading reading(source);
  const Told told = reading.Newest(5, Between(0, kForEver));
  EXPECT_EQ(told.result.outcome, ReadOutcome::kUnreachable);
  EXPECT_EQ(source.reads, 1);
}

TEST(WindowReaderTest, StopsWhenTheSinkHasEnough) {
  FakeSource source(OneASecond(500));
  WindowedReading reading(source, 16);
  reading.enough = 20;
  const Told told = reading.All(ReadOrder::kOldestFirst, Between(0, kForEver));
  EXPECT_EQ(told.result.outcome, ReadOutcome::kStopped);
  EXPECT_THAT(told.numbers, SizeIs(20));
}

TEST(WindowReaderTest, StopsWhenItIsCancelled) {
  FakeSource source(OneASecond(500));
  WindowedReading reading(source, 16);
  const auto wanted = [&](const Row& row) {
    reading.cancelled = row.event.m_SrcPort > 100;
    return true;
  };
  const Told told = reading.All(ReadOrder::kOldestFirst, Between(0, kForEver), wanted);
  EXPECT_EQ(told.result.outcome, ReadOutcome::kStopped);
  EXPECT_THAT(told.numbers, SizeIs(Lt(102u)));
}

// What a naive filter makes of a journal, in the given order.
std::vector<int> Expected(ReadOrder order, const Query& query, const RowTest& wanted,
                          const std::vector<CDrvErrorItemV4>& records) {
  std::vector<int> numbers;
  for (const CDrvErrorItemV4& record : records) {
    if (IsSelected(query, record) && wanted({.event = record, .interface = {}})) {
      numbers.push_back(record.m_SrcPort);
    }
  }
  if (order == ReadOrder::kNewestFirst) std::reverse(numbers.begin(), numbers.end());
  return numbers;
}

Query RandomRange(Random& random, const std::vector<CDrvErrorItemV4>& records) {
  const auto time = [&] {
    const std::int64_t near = records.empty() ? 0 : std::int64_t{random.OneOf(records).m_FirstTime};
    return near + TIME_1980_OFFSET + random.Below(20) - 10;
  };
  Query query = Between(random.OneIn(3) ? 0 : time(), random.OneIn(3) ? kForEver : time());
  query.m_PortSrcFrom = static_cast<std::uint16_t>(random.OneIn(2) ? 1 : random.Below(200));
  return query;
}

// A single second with more rows than an answer may have is the one thing that cannot be read.
void ExpectAllOrAnHonestPart(const Told& told, const std::vector<int>& expected) {
  if (told.result.ok()) {
    EXPECT_EQ(told.numbers, expected);
    return;
  }
  EXPECT_EQ(told.result.outcome, ReadOutcome::kTooManyRows) << told.result.reason;
  ASSERT_THAT(told.numbers.size(), Le(expected.size()));
  EXPECT_TRUE(std::equal(told.numbers.begin(), told.numbers.end(), expected.begin()));
}

void ExpectAsNaive(Random& random) {
  FakeSource source(RandomRecords(random, 1 + random.Below(300)));
  source.tells = !random.OneIn(5);
  source.most_rows = random.OneIn(2) ? 0 : 1 + random.Below(60);
  const Query query = RandomRange(random, source.records);
  const std::uint32_t divisor = 1 + random.Below(5);
  const RowTest wanted = [divisor](const Row& row) { return row.event.m_SrcPort % divisor == 0; };
  WindowedReading reading(source, 1 + random.Below(100));
  for (const ReadOrder order : {ReadOrder::kNewestFirst, ReadOrder::kOldestFirst}) {
    ExpectAllOrAnHonestPart(reading.All(order, query, wanted),
                            Expected(order, query, wanted, source.records));
  }
  const auto all = Expected(ReadOrder::kNewestFirst, query, wanted, source.records);
  for (std::size_t most = 1; most <= all.size() + 1; most += 1 + most / 4) {
    std::vector<int> newest(all.begin(),
                            all.begin() + static_cast<std::ptrdiff_t>(std::min(most, all.size())));
    ExpectAllOrAnHonestPart(reading.Newest(most, query, wanted), newest);
  }
}

TEST(WindowReaderTest, GivesWhatANaiveFilterGives) {
  const std::uint32_t seed = packetdb::test::Seed();
  SCOPED_TRACE(packetdb::test::SeedText(seed));
  Random random(seed);
  for (int i = 0; i < 400 && !testing::Test::HasFailure(); ++i) ExpectAsNaive(random);
}

}  // namespace
}  // namespace packetdb::host::test
