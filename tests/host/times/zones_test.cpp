// What is printed reads back as the same second: in every kind of zone there is, around every
// moment at which its clocks were or will be moved.
#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "host/times/parse_time.h"
#include "host/times/time_text.h"
#include "host/times/zone.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

// The usual ones, changes by half an hour (Lord Howe), at one minute past midnight (St. Johns), at
// midnight (Beirut, Santiago), backwards in spring (Casablanca, Dublin), whole days (Apia,
// Kwajalein), offsets with seconds (Monrovia), and none.
constexpr const char* kZones[] = {
    "UTC",          "Europe/Berlin",       "Europe/Dublin",     "America/New_York",
    "Asia/Kolkata", "Australia/Lord_Howe", "Africa/Casablanca", "America/St_Johns",
    "Asia/Beirut",  "America/Santiago",    "Pacific/Apia",      "Pacific/Kwajalein",
    "Africa/Cairo", "Africa/Monrovia",     "Asia/Kathmandu",    "Antarctica/Troll",
    "Asia/Gaza",    "America/Caracas",     "Asia/Pyongyang",    "Pacific/Chatham",
};

// The first moments of each offset from 1970 to 2039.
std::vector<std::int64_t> Changes() {
  constexpr std::int64_t kEnd = 2'177'452'800;
  constexpr std::int64_t kStep = 43200;
  std::vector<std::int64_t> changes;
  for (std::int64_t before = 0; before < kEnd; before += kStep) {
    std::int64_t last = before;
    std::int64_t first = before + kStep;
    if (OffsetAt(last) == OffsetAt(first)) continue;
    while (first - last > 1) {
      const std::int64_t middle = (last + first) / 2;
      (OffsetAt(middle) == OffsetAt(before) ? last : first) = middle;
    }
    changes.push_back(first);
  }
  return changes;
}

class PrintedTimes : public testing::TestWithParam<const char*> {
 protected:
  void ExpectReadsBack(std::int64_t time) {
    for (const bool rfc3339 : {false, true}) {
      std::string text;
      rfc3339 ? writer_.AppendRfc3339(time, &text) : writer_.Append(time, &text);
      ASSERT_EQ(ParseTime(text, 0), time) << text;
      plain_ += text.size() == sizeof "2026-11-20 14:05:09" - 1 ? 1U : 0U;
    }
    ++tried_;
  }

  const TimeZone zone_{(std::string(":") + GetParam()).c_str()};
  TimeWriter writer_{false};
  std::size_t tried_ = 0;
  std::size_t plain_ = 0;
};

TEST_P(PrintedTimes, ReadBackAroundEveryChangeOfTheClocks) {
  constexpr std::int64_t kMost = 26 * 3600L;
  std::mt19937 random(1);
  std::uniform_int_distribution<std::int64_t> anywhere(-kMost, kMost);
  for (const std::int64_t change : Changes()) {
    for (const std::int64_t near : {-7200, -3600, -1801, -1800, -60, -1, 0, 1, 59, 1799, 1800, 3599,
                                    3600, 3601, 7199, 7200, 86399, 86400}) {
      ASSERT_NO_FATAL_FAILURE(ExpectReadsBack(std::max<std::int64_t>(change + near, 0)));
    }
    for (int i = 0; i < 8; ++i) {
      const std::int64_t time = std::max<std::int64_t>(change + anywhere(random), 0);
      ASSERT_NO_FATAL_FAILURE(ExpectReadsBack(time));
    }
  }
  const bool moves = std::string(GetParam()) != "UTC" && std::string(GetParam()) != "Asia/Kolkata";
  EXPECT_EQ(tried_ > 0, moves) << "is there a database of time zones?";
}

TEST_P(PrintedTimes, ReadBackAtAnyTime) {
  std::mt19937 random(2);
  std::uniform_int_distribution<std::int64_t> anytime(0, kLastTime);
  for (int i = 0; i < 2000; ++i) ASSERT_NO_FATAL_FAILURE(ExpectReadsBack(anytime(random)));
  EXPECT_GT(plain_, 1900U) << "few need an offset";
}

TEST_P(PrintedTimes, ThatAreSkippedReadAsTheMomentOfTheChange) {
  for (const std::int64_t change : Changes()) {
    const std::int64_t before = OffsetAt(change - 1);
    const std::int64_t skipped = OffsetAt(change) - before;
    if (skipped <= 0) continue;
    EXPECT_EQ(LocalMoment(change + before), change);
    EXPECT_EQ(LocalMoment(change + before + skipped - 1), change);
    EXPECT_EQ(LocalMoment(change + before + skipped), change);
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, PrintedTimes, testing::ValuesIn(kZones), [](const auto& zone) {
  std::string name = zone.param;
  std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
  return name;
});

}  // namespace
}  // namespace packetdb::host::test
