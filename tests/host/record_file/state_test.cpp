// The state page: what a new one says, when it is believed, and how it is stored.
#include "host/record_file/state.h"

#include <cstring>
#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

TEST(StateTest, ANewPageIsClosedAndEmpty) {
  const StatePage state = MakeState(17, 5);
  EXPECT_TRUE(IsSoundlyClosed(state));
  EXPECT_EQ(state.next, 17U);
  EXPECT_EQ(state.synced, 17U);
  EXPECT_EQ(state.overwritten_before, 5U);
  EXPECT_EQ(state.merges, 0U);
  EXPECT_EQ(state.known_holes, 0U);
}

TEST(StateTest, EveryChangedByteOfAClosedPageIsNoticed) {
  const StatePage state = MakeState(17, 5);
  for (std::size_t i = 0; i < sizeof state; ++i) {
    StatePage changed = state;
    reinterpret_cast<unsigned char*>(&changed)[i] ^= static_cast<unsigned char>(1U << (i % 8));
    ASSERT_FALSE(IsSoundlyClosed(changed)) << "byte " << i;
  }
}

TEST(StateTest, AnOpenPageIsNotClosedWhateverItsChecksum) {
  StatePage state = MakeState(0, 0);
  state.state = kOpen;
  state.checksum = ChecksumOf(state);
  EXPECT_FALSE(IsSoundlyClosed(state));
}

TEST(StateTest, TellsWhoOpenedIt) {
  StatePage state = {};
  MarkOpened(kFailed, &state);
  EXPECT_EQ(state.state, kFailed);
  EXPECT_EQ(state.writer_pid, static_cast<std::uint32_t>(getpid()));
  EXPECT_NE(state.opened_ns, 0U);
  EXPECT_TRUE(IsOfThisBoot(state));
}

TEST(StateTest, AnotherBootIsToldByOneBit) {
  StatePage state = {};
  EXPECT_FALSE(IsOfThisBoot(state));
  MarkOpened(kOpen, &state);
  state.boot_id.back() ^= 1U;
  EXPECT_FALSE(IsOfThisBoot(state));
}

class StoredState : public testing::TestWithParam<Way> {
 protected:
  StoredState() {
    WriteBytes(path_, Bytes(kCellsOffset, '\0'));
    std::memset(&ones_, 0xFF, sizeof ones_);
  }

  StatePage Stored() { return StateOf(ReadBytes(path_)); }

  Disk disk_;
  std::string path_ = disk_.NewPath();
  StatePage ones_;
};

INSTANTIATE_TEST_SUITE_P(BothWays, StoredState, testing::Values(Way::kMapped, Way::kByCalls));

TEST_P(StoredState, OfFactsHasAllButTheWordsAndTheRedoSector) {
  OpenBytes bytes(path_, GetParam());
  ASSERT_EQ(StoreFacts(ones_, bytes.medium), kRecordFileOk);
  StatePage expected = ones_;
  expected.next = expected.merges = expected.synced = expected.merges_synced = 0;
  expected.writer_padding = {};
  expected.sync_padding = {};
  expected.reserved_sector = {};
  expected.redo = {};
  expected.reserved = {};
  const StatePage stored = Stored();
  EXPECT_EQ(std::memcmp(&stored, &expected, sizeof stored), 0);
}

TEST_P(StoredState, OfDamageHasOnlyTheCounters) {
  OpenBytes bytes(path_, GetParam());
  ASSERT_EQ(StoreDamage(ones_, bytes.medium), kRecordFileOk);
  StatePage expected = {};
  expected.damaged = expected.lost_unsynced = ~std::uint64_t{0};
  expected.overwritten_before = expected.known_holes = ~std::uint64_t{0};
  const StatePage stored = Stored();
  EXPECT_EQ(std::memcmp(&stored, &expected, sizeof stored), 0);
}

TEST(StateTest, IsNotStoredWhereThereIsNoFile) {
  Medium nowhere;
  EXPECT_LT(StoreFacts({}, nowhere), 0);
  EXPECT_LT(StoreDamage({}, nowhere), 0);
}

}  // namespace
}  // namespace packetdb::host
