// Forgetting by age.
#include <cstdint>

#include "tests/library/index_fixture.h"

namespace packetdb::test {
namespace {

class IndexExpiry : public IndexTest {
 protected:
  IndexExpiry() { index_.Init(10); }

  void ExpireAt(std::int64_t second_since_1980, time_t interval) {
    Clock().SetSince1980(second_since_1980);
    index_.RemoveExpiredItems(interval);
  }
};

TEST_F(IndexExpiry, EventExactlyAsOldAsTheIntervalIsExpired) {
  Add(Key(1).First(100));
  ExpireAt(160, 60);
  EXPECT_FALSE(Finds(Key(1)));
}

TEST_F(IndexExpiry, EventOneSecondYoungerStays) {
  Add(Key(1).First(101));
  ExpireAt(160, 60);
  EXPECT_TRUE(Finds(Key(1)));
}

TEST_F(IndexExpiry, AgeCountsFromTheFirstPacket) {
  Add(Key(1).First(100).Last(159));
  ExpireAt(160, 60);
  EXPECT_FALSE(Finds(Key(1)));
}

TEST_F(IndexExpiry, StopsAtTheFirstThatHasNotExpired) {
  Add(Key(1).First(150));
  Add(Key(2).First(100));
  ExpireAt(170, 60);
  EXPECT_TRUE(Finds(Key(1)));
  EXPECT_TRUE(Finds(Key(2)));
}

TEST_F(IndexExpiry, ForgetsAllExpiredFromTheOldEnd) {
  for (std::uint32_t key : {1u, 2u, 3u, 4u}) Add(Key(key).First(100 * key));
  ExpireAt(360, 60);
  EXPECT_FALSE(Finds(Key(1)));
  EXPECT_FALSE(Finds(Key(3)));
  EXPECT_TRUE(Finds(Key(4)));
}

TEST_F(IndexExpiry, WrappedSumExpiresAtOnce) {
  Add(Key(1).First(3979434496u));
  Clock().Set(60);
  index_.RemoveExpiredItems(60);
  EXPECT_FALSE(Finds(Key(1)));
}

TEST_F(IndexExpiry, LargestSumThatDoesNotWrapIsFarInTheFuture) {
  Add(Key(1).First(3979434495u));
  Clock().Set(4294967294);
  index_.RemoveExpiredItems(0);
  EXPECT_TRUE(Finds(Key(1)));
  Clock().Set(4294967295);
  index_.RemoveExpiredItems(0);
  EXPECT_FALSE(Finds(Key(1)));
}

TEST_F(IndexExpiry, LimitIsSigned) {
  Add(Key(1).First(0));
  Clock().Set(10);
  index_.RemoveExpiredItems(1000);
  EXPECT_TRUE(Finds(Key(1)));
}

TEST_F(IndexExpiry, NegativeIntervalLooksIntoTheFuture) {
  Add(Key(1).First(100));
  ExpireAt(90, -10);
  EXPECT_FALSE(Finds(Key(1)));
}

TEST_F(IndexExpiry, LimitWraps) {
  Add(Key(1).First(100));
  Clock().Set(315533000);
  index_.RemoveExpiredItems(INT64_MIN);
  index_.RemoveExpiredItems(INT64_MAX);
  EXPECT_TRUE(Finds(Key(1)));
  Clock().Set(-10);
  index_.RemoveExpiredItems(INT64_MAX);
  EXPECT_FALSE(Finds(Key(1))) << "the limit lies at the other end of time";
}

TEST_F(IndexExpiry, AsksForTheTimeOnceWhateverHappens) {
  Clock().SetSince1980(500);
  EXPECT_EQ(CallsOf([&] { index_.RemoveExpiredItems(60); }), Strings{"time()"});
  Add(Key(1).First(100));
  Add(Key(2).First(100));
  EXPECT_EQ(CallsOf([&] { index_.RemoveExpiredItems(60); }), Strings{"time()"});
}

TEST_F(IndexExpiry, EmptyIndexReportsZeroTwice) {
  Clock().SetSince1980(500);
  LinesOf(5, [&] { index_.RemoveExpiredItems(60); });
  EXPECT_EQ(Log().Texts(5),
            (Strings{"before cleanup: lru_items = 0", "after cleanup: lru_items = 0"}));
}

TEST_F(IndexExpiry, ReportsWhatItForgets) {
  Add(Key(1).First(100));
  Add(Key(2).First(140));
  Add(Key(3).First(190));
  Clock().SetSince1980(200);
  LinesOf(5, [&] { index_.RemoveExpiredItems(60); });
  EXPECT_EQ(Log().Texts(5),
            (Strings{"before cleanup: lru_items = 3", "old rec: 315532900 < 315533000 - 60",
                     "old rec: 315532940 < 315533000 - 60", "after cleanup: lru_items = 1"}));
}

TEST_F(IndexExpiry, ReportsTheWrappedSum) {
  Add(Key(1).First(3979434499u));
  Clock().Set(1000);
  LinesOf(5, [&] { index_.RemoveExpiredItems(60); });
  EXPECT_THAT(Log().Texts(5), ::testing::Contains("old rec: 3 < 1000 - 60"));
}

TEST_F(IndexExpiry, SaysNothingBelowLevelFive) {
  Log().SetLevel(4);
  Add(Key(1).First(100));
  ExpireAt(500, 60);
  EXPECT_TRUE(Log().Attempts().empty());
}

}  // namespace
}  // namespace packetdb::test
