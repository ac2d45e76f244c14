#include "host/summary/bins.h"

#include <gtest/gtest.h>

#include "host/times/parse_time.h"
#include "host/times/time_text.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 24 * kHour;
constexpr const char* kBerlin = "Europe/Berlin";

std::string BinOf(const char* time, std::int64_t seconds, bool utc = false) {
  Bins bins(seconds, utc);
  const std::int64_t start = bins.StartOf(ParseTime(time, 0));
  return utc ? UtcTime(start) : LocalTime(start);
}

TEST(BinsTest, BeginWhereClocksShowFullOnes) {
  const TimeZone zone("<+0545>-5:45");
  EXPECT_EQ(BinOf("2026-11-20 14:07:09", 300), "2026-11-20 14:05:00");
  EXPECT_EQ(BinOf("2026-11-20 14:07:09", kHour), "2026-11-20 14:00:00");
  EXPECT_EQ(BinOf("2026-11-20 14:07:09", kHour, true), "2026-11-20 08:00:00Z");
}

TEST(BinsTest, OfDaysBeginAtMidnightWhenClocksWereMovedSince) {
  const TimeZone zone(kBerlin);
  EXPECT_EQ(BinOf("2026-10-25 23:00", kDay), "2026-10-25 00:00:00");
  EXPECT_EQ(BinOf("2026-03-29 23:00", kDay), "2026-03-29 00:00:00");
  EXPECT_EQ(BinOf("2026-10-25 23:00", 6 * kHour), "2026-10-25 18:00:00");
  EXPECT_EQ(BinOf("2026-10-25 05:00", 6 * kHour), "2026-10-25 00:00:00");
}

TEST(BinsTest, OfWeeksBeginOnMondays) {
  const TimeZone zone(kBerlin);
  EXPECT_EQ(BinOf("2026-10-25 23:00", 7 * kDay), "2026-10-19 00:00:00");
  EXPECT_EQ(BinOf("2026-10-26 00:00", 7 * kDay), "2026-10-26 00:00:00");
}

TEST(BinsTest, HourThatComesTwiceIsTwoBins) {
  const TimeZone zone(kBerlin);
  EXPECT_EQ(BinOf("2026-10-25 02:30+02:00", kHour), "2026-10-25 02:00:00");
  EXPECT_EQ(BinOf("2026-10-25 02:30+01:00", kHour), "2026-10-25 02:00:00+01:00");
}

// Every minute around a change is in one bin, which begins where it says, and the bins follow each
// other.
void ExpectBinsWithoutGaps(std::int64_t from, std::int64_t seconds) {
  Bins bins(seconds, false);
  std::int64_t start = bins.StartOf(from);
  std::int64_t next = bins.NextStart(start);
  for (std::int64_t moment = from; moment < from + 3 * kDay; moment += 60) {
    if (moment >= next) {
      start = next;
      next = bins.NextStart(start);
      ASSERT_GT(next, start);
    }
    ASSERT_EQ(bins.StartOf(moment), start) << moment << " in bins of " << seconds;
  }
}

TEST(BinsTest, FollowEachOtherWithoutGapsWhereClocksAreMoved) {
  struct Change {
    const char* zone;
    const char* day_before;
  };
  for (const Change& change :
       {Change{kBerlin, "2026-10-24"}, Change{kBerlin, "2026-03-28"},
        Change{"Australia/Lord_Howe", "2026-04-04"}, Change{"America/Sao_Paulo", "2018-11-03"},
        Change{"Pacific/Apia", "2011-12-29"}}) {
    const TimeZone zone(change.zone);
    for (const std::int64_t minutes : {1, 7, 30, 45, 60, 90, 120, 180, 360, 420, 720, 1440, 2880}) {
      SCOPED_TRACE(change.zone);
      ExpectBinsWithoutGaps(ParseTime(change.day_before, 0), 60 * minutes);
    }
  }
}

}  // namespace
}  // namespace packetdb::host::test
