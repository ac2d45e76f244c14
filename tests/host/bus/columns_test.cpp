#include "host/bus/columns.h"

#include <gtest/gtest.h>

namespace packetdb::host {
namespace {

TEST(Columns, LieBehindEachOtherInTheOrderOfDeclaration) {
  Columns columns;
  ASSERT_EQ(columns.Add(kIntegerBit | 7, 4), BusError::kNone);
  ASSERT_EQ(columns.Add(3, 32), BusError::kNone);
  EXPECT_EQ(columns.Find(7)->offset, 0u);
  EXPECT_EQ(columns.Find(3)->offset, 4u);
  EXPECT_EQ(columns.RowSize(), 36u);
}

TEST(Columns, AreFoundWithoutBit31Only) {
  Columns columns;
  columns.Add(kIntegerBit | 7, 4);
  EXPECT_TRUE(columns.Find(7)->integer);
  EXPECT_EQ(columns.Find(7)->DeclaredId(), kIntegerBit | 7);
  EXPECT_EQ(columns.Find(kIntegerBit | 7), nullptr);
}

TEST(Columns, AreFoundInAnyOrderOfLookups) {
  Columns columns;
  for (unsigned int id = 10; id < 20; ++id) columns.Add(id, 1);
  for (unsigned int id : {19u, 10u, 11u, 15u, 15u, 12u, 19u}) {
    ASSERT_NE(columns.Find(id), nullptr) << id;
    EXPECT_EQ(columns.Find(id)->id, id);
  }
  EXPECT_EQ(columns.Find(9), nullptr);
  EXPECT_EQ(columns.Find(10)->id, 10u);
}

TEST(Columns, OfNoneFindNothing) { EXPECT_EQ(Columns().Find(0), nullptr); }

TEST(Columns, RefuseSizeZero) {
  EXPECT_EQ(Columns().Add(1, 0), BusError::kBadColumnSize);
  EXPECT_EQ(Columns().Add(kIntegerBit | 1, 0), BusError::kBadColumnSize);
}

TEST(Columns, TakeAColumnOf64KiBAndNoBigger) {
  EXPECT_EQ(Columns().Add(1, 65536), BusError::kNone);
  EXPECT_EQ(Columns().Add(1, 65537), BusError::kBadColumnSize);
  EXPECT_EQ(Columns().Add(1, 0x80000000U), BusError::kBadColumnSize);
  EXPECT_EQ(Columns().Add(1, 0xFFFFFFFFU), BusError::kBadColumnSize);
}

TEST(Columns, TakeIntegersOf1And2And4And8BytesOnly) {
  for (unsigned int size = 1; size <= 17; ++size) {
    const bool fits = size == 1 || size == 2 || size == 4 || size == 8;
    EXPECT_EQ(Columns().Add(kIntegerBit | 1, size),
              fits ? BusError::kNone : BusError::kBadIntegerSize)
        << size;
  }
}

TEST(Columns, RefuseAnIdentifierTwiceWhateverItsBit31) {
  Columns columns;
  columns.Add(5, 1);
  EXPECT_EQ(columns.Add(5, 2), BusError::kDuplicateColumn);
  EXPECT_EQ(columns.Add(kIntegerBit | 5, 4), BusError::kDuplicateColumn);
}

TEST(Columns, Are64AtMost) {
  Columns columns;
  for (unsigned int id = 0; id < 64; ++id) ASSERT_EQ(columns.Add(id, 1), BusError::kNone);
  EXPECT_EQ(columns.Add(64, 1), BusError::kTooManyColumns);
  EXPECT_EQ(columns.All().size(), 64u);
}

TEST(Columns, FitAFrameTogetherToTheLastByte) {
  Columns columns;
  for (unsigned int id = 0; id < 15; ++id) ASSERT_EQ(columns.Add(id, 65536), BusError::kNone);
  EXPECT_EQ(columns.Add(15, 65535), BusError::kRowTooLong);
  EXPECT_EQ(columns.Add(15, 65534), BusError::kNone);
  EXPECT_EQ(columns.RowSize(), kMaxPayload);
  EXPECT_EQ(columns.Add(16, 1), BusError::kRowTooLong);
}

TEST(Columns, StayAsTheyWereWhenOneIsRefused) {
  Columns columns;
  columns.Add(1, 4);
  columns.Add(1, 8);
  columns.Add(2, 0);
  EXPECT_EQ(columns.All().size(), 1u);
  EXPECT_EQ(columns.RowSize(), 4u);
}

}  // namespace
}  // namespace packetdb::host
