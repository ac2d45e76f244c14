#include "host/reading/follow.h"

#include <deque>
#include <gmock/gmock.h>
#include <map>
#include <thread>

#include "host/journals/group_writer.h"
#include "host/reading/file_source.h"
#include "tests/host/journals/support.h"
#include "tests/host/reading/fake_source.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using packetdb::test::Random;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Le;

// "7x1" for a new row of number 7 that stands for one packet, "7x2 again" for one that changed.
class Following {
 public:
  explicit Following(RowSource& source, const RowTest& wanted = {})
      : wanted_(wanted), follower_(source, query_, wanted_, cancelled, 16) {}

  std::vector<std::string> Begin(std::size_t newest) {
    result = follower_.Begin(newest, Sink());
    return std::move(given_);
  }
  std::vector<std::string> Poll() {
    result = follower_.Poll(Sink());
    return std::move(given_);
  }
  Follower& follower() { return follower_; }

  ReadResult result;
  std::atomic<bool> cancelled = false;

 private:
  FollowSink Sink() {
    given_.clear();
    return [this](const Row& row, bool is_update) {
      given_.push_back(std::to_string(row.event.m_SrcPort) + "x" +
                       std::to_string(row.event.m_Count) + (is_update ? " again" : ""));
      return true;
    };
  }

  Query query_ = Between(0, kForEver);
  RowTest wanted_;
  Follower follower_;
  std::vector<std::string> given_;
};

void Repeat(CDrvErrorItemV4& record, std::int64_t time) {
  record.m_LastTime = static_cast<std::uint32_t>(time - TIME_1980_OFFSET);
  record.m_Count += 1;
}

TEST(FollowTest, BeginsWithTheNewestRowsOldestFirst) {
  FakeSource source({RecordSeen(kTime - 5000, kTime - 5000, 1),
                     RecordSeen(kTime - 4000, kTime - 4000, 2), RecordSeen(kTime, kTime, 3)});
  EXPECT_THAT(Following(source).Begin(2), ElementsAre("2x1", "3x1"));
  EXPECT_THAT(Following(source).Begin(0), IsEmpty());
  EXPECT_THAT(Following(source).Begin(Follower::kEverything), ElementsAre("1x1", "2x1", "3x1"));
}

TEST(FollowTest, GivesANewRowOnce) {
  FakeSource source({RecordSeen(kTime, kTime, 1)});
  Following following(source);
  following.Begin(9);
  EXPECT_THAT(following.Poll(), IsEmpty());
  source.records.push_back(RecordSeen(kTime, kTime, 2));
  EXPECT_THAT(following.Poll(), ElementsAre("2x1"));
  EXPECT_THAT(following.Poll(), IsEmpty());
}

TEST(FollowTest, GivesARowAgainWhenRepeatsWereAdded) {
  FakeSource source({RecordSeen(kTime, kTime, 1), RecordSeen(kTime + 50, kTime + 50, 2)});
  Following following(source);
  following.Begin(9);
  Repeat(source.records[0], kTime + 55);
  EXPECT_THAT(following.Poll(), ElementsAre("1x2 again"));
  EXPECT_THAT(following.Poll(), IsEmpty());
}

TEST(FollowTest, GivesARowThatWasTooOldToBeginWithAsNewWhenItGrows) {
  FakeSource source({RecordSeen(kTime, kTime, 1), RecordSeen(kTime, kTime, 2)});
  Following following(source);
  following.Begin(1);
  Repeat(source.records[0], kTime);
  EXPECT_THAT(following.Poll(), ElementsAre("1x2"));
}

TEST(FollowTest, TellsRowsApartThatDifferInNothingButTheirCounts) {
  FakeSource source({RecordSeen(kTime, kTime, 1), RecordSeen(kTime, kTime, 1)});
  Following following(source);
  EXPECT_THAT(following.Begin(9), ElementsAre("1x1", "1x1"));
  Repeat(source.records[1], kTime + 1);
  EXPECT_THAT(following.Poll(), ElementsAre("1x2 again"));
  source.records.push_back(RecordSeen(kTime, kTime, 1));
  EXPECT_THAT(following.Poll(), ElementsAre("1x1"));
}

TEST(FollowTest, BeginsWithAnEmptyJournal) {
  FakeSource source({});
  Following following(source);
  EXPECT_THAT(following.Begin(9), IsEmpty());
  EXPECT_TRUE(following.result.ok());
  source.records.push_back(RecordSeen(kTime, kTime, 1));
  EXPECT_THAT(following.Poll(), ElementsAre("1x1"));
}

TEST(FollowTest, GivesWhatIsWantedWhenItComesToBe) {
  FakeSource source({RecordSeen(kTime, kTime, 1)});
  Following following(source, [](const Row& row) { return row.event.m_Count >= 2; });
  EXPECT_THAT(following.Begin(9), IsEmpty());
  Repeat(source.records[0], kTime + 1);
  EXPECT_THAT(following.Poll(), ElementsAre("1x2"));
}

TEST(FollowTest, GoesOnWithoutAGapWhenTheSourceWasAway) {
  FakeSource source({RecordSeen(kTime, kTime, 1)});
  Following following(source);
  following.Begin(9);
  source.failure = ReadOutcome::kUnreachable;
  source.records.push_back(RecordSeen(kTime + 1, kTime + 1, 2));
  EXPECT_THAT(following.Poll(), IsEmpty());
  EXPECT_EQ(following.result.outcome, ReadOutcome::kUnreachable);
  source.failure = ReadOutcome::kDone;
  for (std::uint16_t i = 3; i < 300; ++i) {
    source.records.push_back(RecordSeen(kTime + i, kTime + i, i));
  }
  EXPECT_THAT(following.Poll(), testing::SizeIs(298)) << "more than one window of them";
  EXPECT_THAT(following.Poll(), IsEmpty());
}

TEST(FollowTest, DoesNotReadWhileNothingChanges) {
  const TempDir directory;
  GroupWriter writer({.directory = directory.Path(),
                      .group = "all",
                      .capacity = 100,
                      .window_seconds = kDefaultWindowSeconds});
  FileSource source(directory.Path("all.journal"));
  Following following(source);
  following.Begin(9);
  writer.Add(RecordSeen(kTime, kTime, 1), "lan0");
  EXPECT_THAT(following.Poll(), ElementsAre("1x1"));
  EXPECT_EQ(following.result.outcome, ReadOutcome::kDone) << "a row came";
  EXPECT_THAT(following.Poll(), IsEmpty());
  EXPECT_EQ(following.result.outcome, ReadOutcome::kNothing);
}

TEST(FollowTest, ForgetsWhatCanNotChangeAnyMore) {
  FakeSource source({});
  Following following(source);
  following.Begin(0);
  for (std::uint16_t i = 1; i < 2000; ++i) {
    source.records.push_back(RecordSeen(kTime + i, kTime + i, i));
    EXPECT_THAT(following.Poll(), testing::SizeIs(1));
    EXPECT_THAT(following.follower().remembered(), Le(FakeSource::kWindow + 3u));
  }
}

TEST(FollowTest, RunsUntilItIsCancelled) {
  FakeSource source({RecordSeen(kTime, kTime, 1)});
  Following following(source);
  int given = 0;
  const ReadResult result =
      following.follower().Run(9, std::chrono::milliseconds(1), [&](const Row&, bool) {
        source.records.push_back(RecordSeen(kTime, kTime, static_cast<std::uint16_t>(++given + 1)));
        following.cancelled = given == 10;
        return true;
      });
  EXPECT_EQ(result.outcome, ReadOutcome::kStopped);
  EXPECT_EQ(given, 10);
}

// What a follower gave, by what stays of a row: how often as new, and its last state.
struct Seen {
  int as_new = 0;
  std::uint32_t count = 0;
  std::uint32_t last_time = 0;
};
using SeenRows = std::map<std::pair<std::uint16_t, std::uint32_t>, Seen>;

FollowSink InsertInto(SeenRows* rows) {
  return [rows](const Row& row, bool is_update) {
    Seen& seen =
        (*rows)[{std::uint16_t{row.event.m_SrcPort}, std::uint32_t{row.event.m_FirstTime}}];
    seen.as_new += is_update ? 0 : 1;
    seen.count = row.event.m_Count;
    seen.last_time = row.event.m_LastTime;
    return true;
  };
}

template <class Record>
void ExpectSeen(const std::vector<Record>& records, const SeenRows& rows) {
  EXPECT_EQ(rows.size(), records.size());
  for (const Record& record : records) {
    const auto found =
        rows.find({std::uint16_t{record.m_SrcPort}, std::uint32_t{record.m_FirstTime}});
    ASSERT_NE(found, rows.end());
    EXPECT_EQ(found->second.as_new, 1);
    EXPECT_EQ(found->second.count, +record.m_Count);
    EXPECT_EQ(found->second.last_time, +record.m_LastTime);
  }
}

// Merges as a journal does: into the record of the same number that began within the window.
void AddEvent(std::vector<CDrvErrorItemV4>& records, std::uint16_t number, std::int64_t time) {
  for (auto record = records.rbegin(); record != records.rend(); ++record) {
    const std::int64_t first = std::int64_t{record->m_FirstTime} + TIME_1980_OFFSET;
    if (first <= time - FakeSource::kWindow) break;
    if (record->m_SrcPort == number) {
      Repeat(*record, time);
      return;
    }
  }
  records.push_back(RecordSeen(time, time, number));
}

TEST(FollowTest, GivesEachRowOnceAndItsLastState) {
  const std::uint32_t seed = packetdb::test::Seed();
  SCOPED_TRACE(packetdb::test::SeedText(seed));
  Random random(seed);
  FakeSource source({});
  const Query query = Between(0, kForEver);
  const RowTest wanted;
  const std::atomic<bool> cancelled = false;
  Follower follower(source, query, wanted, cancelled, 16);
  SeenRows rows;
  EXPECT_TRUE(follower.Begin(0, InsertInto(&rows)).ok());
  std::int64_t time = kTime;
  for (int i = 0; i < 3000; ++i) {
    time += random.OneIn(3) ? random.Below(5) : 0;
    time += random.OneIn(100) ? random.Below(1000) : 0;
    AddEvent(source.records, static_cast<std::uint16_t>(1 + random.Below(30)), time);
    source.failure = random.OneIn(10) ? ReadOutcome::kLost : ReadOutcome::kDone;
    if (random.OneIn(4)) follower.Poll(InsertInto(&rows));
  }
  source.failure = ReadOutcome::kDone;
  EXPECT_TRUE(follower.Poll(InsertInto(&rows)).ok());
  ExpectSeen(source.records, rows);
}

// Seconds of events, some of which are repeats, as they would come in live.
void WriteLive(GroupWriter& writer) {
  constexpr int kSeconds = 4;
  const std::uint32_t end = JournalNow() + kSeconds;
  for (std::uint32_t i = 0; JournalNow() < end; ++i) {
    CDrvErrorItemV4 event = RecordSeen(0, 0, static_cast<std::uint16_t>(1 + i * 7 % 101));
    event.m_FirstTime = event.m_LastTime = JournalNow();
    writer.Add(event, "lan0");
    if (i % 50 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

TEST(FollowTest, FollowsAJournalThatIsBeingWritten) {
  const TempDir directory;
  GroupWriter writer(
      {.directory = directory.Path(), .group = "all", .capacity = 100000, .window_seconds = 2});
  FileSource source(directory.Path("all.journal"));
  const Query query = Between(0, kForEver);
  const RowTest wanted;
  std::atomic<bool> cancelled = false;
  Follower follower(source, query, wanted, cancelled, 16);
  SeenRows rows;
  std::thread writing([&writer, &cancelled] {
    WriteLive(writer);
    cancelled = true;
  });
  follower.Run(0, std::chrono::milliseconds(1), InsertInto(&rows));
  writing.join();
  cancelled = false;
  EXPECT_TRUE(follower.Poll(InsertInto(&rows)).ok());
  ExpectSeen(RecordsIn(directory.Path("all.journal")), rows);
}

}  // namespace
}  // namespace packetdb::host::test
