// Records by position, in a window that somebody fixes.
#include "host/record_file/record_view.h"

#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordViewTest : public testing::TestWithParam<Way> {
 protected:
  RecordViewTest() { view_.SetWindow({2, 6}); }

  std::uint64_t ValueAt(int position) {
    TestRecord record;
    EXPECT_EQ(view_.Read(position, record.data()), kRecordFileOk);
    return ValueOf(record);
  }
  // Up to ten from there on.
  RecordFileResult ReadMany(int position, std::vector<std::uint64_t>* values) {
    std::vector<TestRecord> records(10);
    const int read = view_.ReadMany(position, records.data(), 10);
    for (int i = 0; i < read; ++i) values->push_back(ValueOf(records[static_cast<std::size_t>(i)]));
    return read < 0 ? static_cast<RecordFileResult>(read) : kRecordFileOk;
  }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 8, 10);  // the record of number n holds n + 1
  Geometry geometry_ = GeometryOfFile(path_);
  OpenBytes open_ = OpenBytes(path_, GetParam());
  RecordView view_ = RecordView(open_.medium, geometry_, {3});
};

INSTANTIATE_TEST_SUITE_P(BothWays, RecordViewTest, testing::Values(Way::kMapped, Way::kByCalls));

TEST_P(RecordViewTest, CountsAndReadsTheWindowWithoutItsHoles) {
  EXPECT_EQ(view_.Count(), 3);
  EXPECT_EQ(view_.Holes(), 1U);
  EXPECT_EQ(ValueAt(0), 3U);
  EXPECT_EQ(ValueAt(1), 5U);
  std::vector<std::uint64_t> values;
  EXPECT_EQ(ReadMany(0, &values), kRecordFileOk);
  EXPECT_THAT(values, ElementsAre(3, 5, 6));
}

TEST_P(RecordViewTest, ReadsNothingOutside) {
  TestRecord record;
  EXPECT_EQ(view_.Read(-1, record.data()), kBadPosition);
  EXPECT_EQ(view_.Read(3, record.data()), kBadPosition);
  EXPECT_EQ(view_.ReadMany(3, record.data(), 1), kBadPosition);
  EXPECT_EQ(view_.ReadMany(0, record.data(), 0), kBadCount);
}

TEST_P(RecordViewTest, StandsInForADamagedRecordFromWithinTheWindow) {
  DamageRecord(path_, 2);
  TestRecord record;
  EXPECT_EQ(view_.Read(0, record.data()), kDamagedRecord);
  EXPECT_EQ(record, TestRecord{}) << "the one before does not count";
}

TEST_P(RecordViewTest, SkipsNothingThatNobodyMet) {
  DamageRecord(path_, 4);
  EXPECT_FALSE(view_.HasMetDamage());
  EXPECT_THAT(view_.SkipDamage(), IsEmpty());
  EXPECT_EQ(view_.Count(), 3);
}

TEST_P(RecordViewTest, SkipsAllDamageOnceAnyWasMet) {
  DamageRecord(path_, 2);
  DamageRecord(path_, 4);
  DamageRecord(path_, 6);  // outside
  std::vector<std::uint64_t> values;
  EXPECT_EQ(ReadMany(0, &values), kDamagedRecord);
  EXPECT_TRUE(view_.HasMetDamage());
  EXPECT_THAT(view_.SkipDamage(), ElementsAre(2, 4));
  EXPECT_FALSE(view_.HasMetDamage());
  EXPECT_EQ(ReadMany(0, &values), kRecordFileOk);
  EXPECT_THAT(values, ElementsAre(6));
}

TEST_P(RecordViewTest, AHoleThatWasWrittenCountsAgain) {
  view_.Heal(3);
  EXPECT_EQ(view_.Count(), 4);
  EXPECT_EQ(ValueAt(1), 4U);
}

TEST_P(RecordViewTest, GoesRoundTheEndOfTheRing) {
  const std::uint64_t slots = geometry_.slot_count;
  Bytes bytes = ReadBytes(path_);
  for (std::uint64_t sequence = slots - 2; sequence < slots + 2; ++sequence) {
    PutFrame(geometry_, sequence, sequence, OffsetOf(geometry_, sequence), &bytes);
  }
  open_.medium.Write(0, bytes.data(), bytes.size());
  view_.SetWindow({slots - 2, slots + 2});
  std::vector<std::uint64_t> values;
  EXPECT_EQ(ReadMany(0, &values), kRecordFileOk);
  EXPECT_THAT(values, ElementsAre(slots - 2, slots - 1, slots, slots + 1));
}

}  // namespace
}  // namespace packetdb::host
