// In which order a writer's stores reach the file.
#include "host/record_file/ring.h"

#include <gmock/gmock.h>

#include "host/record_file/frame.h"
#include "host/record_file/frame_reader.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kTickets = std::uint64_t{1} << 31U;

class RingTest : public testing::TestWithParam<Way> {
 protected:
  RecordFileResult Find(int ticket) const { return ring_.Find(ticket, &found_); }
  int Append(std::uint64_t value) { return ring_.Append(MakeTestRecord(value).data()); }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 0);
  Geometry geometry_ = GeometryOfFile(path_);
  OpenBytes open_ = OpenBytes(path_, GetParam());
  FrameReader reader_ = FrameReader(open_.medium, geometry_);
  Ring ring_ = Ring(open_.medium, geometry_, 0, 0);
  mutable std::uint64_t found_ = 0;
};

INSTANTIATE_TEST_SUITE_P(BothWays, RingTest, testing::Values(Way::kMapped, Way::kByCalls));

TEST_P(RingTest, AnAppendStoresTheFrameAndMovesTheCommitWord) {
  EXPECT_EQ(Append(7), 0);
  EXPECT_EQ(Append(8), 1);
  const StatePage state = StateOf(ReadBytes(path_));
  EXPECT_EQ(state.next, 2U);
  EXPECT_EQ(state.merges, 0U);
  EXPECT_TRUE(reader_.SlotHas(0));
  EXPECT_TRUE(reader_.SlotHas(1));
  EXPECT_EQ(ring_.next(), 2U);
}

TEST_P(RingTest, AnAppendNeverTouchesALiveRecordsSlot) {
  for (std::uint64_t value = 0; value < 2 * geometry_.slot_count; ++value) {
    const std::uint64_t slot = SlotOf(geometry_, ring_.next());
    const Window live = LiveWindow(geometry_, ring_.next());
    for (std::uint64_t sequence = live.begin; sequence < live.end; ++sequence) {
      ASSERT_NE(SlotOf(geometry_, sequence), slot);
    }
    ASSERT_GE(Append(value), 0);
  }
}

TEST_P(RingTest, AnOverwriteLeavesItsFrameInTheRedoSector) {
  Append(7);
  Append(8);
  ASSERT_EQ(ring_.Overwrite(0, MakeTestRecord(70).data()), kRecordFileOk);
  EXPECT_TRUE(reader_.RedoHas(0));
  EXPECT_TRUE(reader_.SlotHas(0));
  const Bytes bytes = ReadBytes(path_);
  EXPECT_EQ(StateOf(bytes).merges, 1U);
  EXPECT_EQ(StateOf(bytes).next, 2U);
  EXPECT_TRUE(std::equal(bytes.begin() + static_cast<std::ptrdiff_t>(kRedoOffset),
                         bytes.begin() + static_cast<std::ptrdiff_t>(kRedoOffset) + 80,
                         bytes.begin() + static_cast<std::ptrdiff_t>(kCellsOffset)));
  EXPECT_EQ(ring_.merges(), 1U);
}

TEST_P(RingTest, CompletesTheOverwriteThatTheRedoSectorHolds) {
  Append(7);
  ring_.Overwrite(0, MakeTestRecord(70).data());
  FlipByte(path_, OffsetOf(geometry_, 0));
  ASSERT_FALSE(reader_.SlotHas(0));
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(ring_.CompleteRedo(0), kRecordFileOk);
    EXPECT_TRUE(reader_.SlotHas(0));
  }
}

TEST_P(RingTest, StoresTheCommitWordAgain) {
  Append(7);
  open_.medium.StoreWord(kNextOffset, 99);
  ASSERT_EQ(ring_.StoreNext(), kRecordFileOk);
  EXPECT_EQ(StateOf(ReadBytes(path_)).next, 1U);
}

TEST_P(RingTest, ATicketNamesARecordForAsLongAsItLives) {
  EXPECT_EQ(Find(0), kDeadTicket) << "nothing was appended";
  for (std::uint64_t value = 0; value < 5; ++value) Append(value);
  EXPECT_EQ(Find(-1), kBadTicket);
  EXPECT_EQ(Find(1), kDeadTicket);
  ASSERT_EQ(Find(2), kRecordFileOk);
  EXPECT_EQ(found_, 2U);
  ASSERT_EQ(Find(4), kRecordFileOk);
  EXPECT_EQ(found_, 4U);
  EXPECT_EQ(Find(5), kDeadTicket) << "not given yet";
}

TEST_P(RingTest, TicketsWrapAndSequenceNumbersDoNot) {
  Ring ring(open_.medium, geometry_, kTickets - 1, 0);
  EXPECT_EQ(ring.Append(MakeTestRecord(1).data()), 0x7FFFFFFF);
  EXPECT_EQ(ring.Append(MakeTestRecord(2).data()), 0);
  ASSERT_EQ(ring.Find(0x7FFFFFFF, &found_), kRecordFileOk);
  EXPECT_EQ(found_, kTickets - 1);
  ASSERT_EQ(ring.Find(0, &found_), kRecordFileOk);
  EXPECT_EQ(found_, kTickets);
}

TEST_P(RingTest, WithABoundThereIsRoomUntilTheNumbersEnd) {
  EXPECT_TRUE(Ring(open_.medium, geometry_, kMaxSequence - 2, 0).HasRoom());
  EXPECT_FALSE(Ring(open_.medium, geometry_, kMaxSequence - 1, 0).HasRoom());
}

TEST_P(RingTest, WithoutABoundThereIsRoomUntilTheFileEnds) {
  const std::string path = MakeJournal(disk_, 0, kNoBound);
  const Geometry geometry = GeometryOfFile(path);
  OpenBytes open(path, GetParam());
  EXPECT_TRUE(Ring(open.medium, geometry, geometry.slot_count - 1, 0).HasRoom());
  EXPECT_FALSE(Ring(open.medium, geometry, geometry.slot_count, 0).HasRoom());
}

}  // namespace
}  // namespace packetdb::host
