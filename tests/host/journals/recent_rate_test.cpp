#include "host/journals/recent_rate.h"

#include <gtest/gtest.h>

#include "host/record_file/open.h"
#include "tests/host/cli/stored_journal.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

class RecentRateOfAJournal : public testing::Test {
 protected:
  // Measured from the first record to `end` seconds after kStart.
  std::optional<RecentRate> RateOf(const std::vector<std::uint32_t>& seconds, std::uint32_t end) {
    std::vector<PacketDbItemPacked> records;
    for (const std::uint32_t second : seconds) records.push_back(RecordAt(second));
    Store(path_, records, 1000);
    Descriptor file;
    EXPECT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
    Snapshot snapshot(file);
    EXPECT_EQ(snapshot.Begin(), kRecordFileOk);
    std::optional<RecentRate> rate;
    const RateSpan span = {kStart + seconds.front(), kStart + end, seconds.size() - 1};
    EXPECT_EQ(FindRecentRate(snapshot, JournalFormat::k4, span, &rate), kRecordFileOk);
    return rate;
  }

  const TempDir directory_;
  const std::string path_ = directory_.Path("my.journal");
};

TEST_F(RecentRateOfAJournal, IsThatOfTheNewestTenth) {
  const auto rate = RateOf({0, 10, 50, 89, 90, 91, 95, 100}, 100);
  ASSERT_TRUE(rate);
  EXPECT_EQ(rate->seconds, 10U);
  EXPECT_EQ(rate->records, 3U) << "91, 95 and 100";
  EXPECT_DOUBLE_EQ(rate->PerSecond(), 0.3);
}

TEST_F(RecentRateOfAJournal, FallsToNothingWhenNothingComes) {
  const auto rate = RateOf({0, 10, 50, 100}, 1000);
  ASSERT_TRUE(rate);
  EXPECT_EQ(rate->seconds, 100U);
  EXPECT_EQ(rate->records, 0U);
}

TEST_F(RecentRateOfAJournal, IsMeasuredInASecondAtLeast) {
  const auto rate = RateOf({0, 3, 3}, 3);
  ASSERT_TRUE(rate);
  EXPECT_EQ(rate->seconds, 1U);
  EXPECT_EQ(rate->records, 2U);
}

TEST_F(RecentRateOfAJournal, LeavesOutWhatIsASecondOld) {
  const auto rate = RateOf({0, 1}, 1);
  ASSERT_TRUE(rate);
  EXPECT_EQ(rate->records, 1U);
}

TEST_F(RecentRateOfAJournal, IsNotKnownWhenNoTimePassed) { EXPECT_FALSE(RateOf({5, 5, 5}, 5)); }

TEST_F(RecentRateOfAJournal, IsNotKnownWhenTimeWentBack) { EXPECT_FALSE(RateOf({5, 6}, 4)); }

}  // namespace
}  // namespace packetdb::host::test
