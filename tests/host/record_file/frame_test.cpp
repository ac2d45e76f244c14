// A frame proves which record of which file it is.
#include "host/record_file/frame.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kSequence = 0x1'2345'6789;

class FrameTest : public testing::Test {
 protected:
  FrameTest() { SealFrame(geometry_, MakeTestRecord(7).data(), kSequence, frame_.data()); }

  bool IsWhole() const { return IsFrameOf(geometry_, kSequence, frame_.data()); }

  Geometry geometry_ = GeometryOf(72, 3);
  FrameBuffer frame_ = {};
};

TEST_F(FrameTest, IsThatOfItsRecord) {
  EXPECT_TRUE(IsWhole());
  EXPECT_EQ(LowSequenceOf(geometry_, frame_.data()), 0x23456789U);
  TestRecord record;
  std::memcpy(record.data(), frame_.data(), sizeof record);
  EXPECT_EQ(ValueOf(record), 7U);
}

TEST_F(FrameTest, IsThatOfNoOtherNumber) {
  EXPECT_FALSE(IsFrameOf(geometry_, kSequence + 1, frame_.data()));
  EXPECT_FALSE(IsFrameOf(geometry_, kSequence + (std::uint64_t{1} << 32U), frame_.data()))
      << "the checksum covers the upper half, too";
}

TEST_F(FrameTest, IsThatOfNoOtherFile) {
  geometry_.seed ^= 1U;
  EXPECT_FALSE(IsWhole());
}

TEST_F(FrameTest, EveryFlippedBitIsNoticed) {
  for (std::size_t bit = 0; bit < geometry_.frame_size * std::size_t{8}; ++bit) {
    frame_.bytes[bit / 8] ^= std::byte{1} << (bit % 8);
    ASSERT_FALSE(IsWhole()) << "bit " << bit;
    frame_.bytes[bit / 8] ^= std::byte{1} << (bit % 8);
  }
  EXPECT_TRUE(IsWhole());
}

// What a store that stopped anywhere leaves of two versions of a record.
TEST_F(FrameTest, EveryTornOverwriteIsNoticed) {
  const FrameBuffer before = frame_;
  FrameBuffer after;
  SealFrame(geometry_, MakeTestRecord(8).data(), kSequence, after.data());
  for (std::size_t cut = 1; cut < 80; ++cut) {
    frame_ = before;
    std::copy_n(after.bytes.begin(), cut, frame_.bytes.begin());
    const bool is_one_of_them =
        std::equal(frame_.bytes.begin(), frame_.bytes.begin() + 80, after.bytes.begin()) ||
        std::equal(frame_.bytes.begin(), frame_.bytes.begin() + 80, before.bytes.begin());
    ASSERT_EQ(IsWhole(), is_one_of_them) << cut;
  }
}

TEST_F(FrameTest, PadsWithZeros) {
  const Geometry geometry = GeometryOf(60, 3);
  FrameBuffer frame;
  frame.bytes.fill(std::byte{0xFF});
  SealFrame(geometry, MakeTestRecord(7).data(), kSequence, frame.data());
  for (std::size_t i = 60; i < 64; ++i) EXPECT_EQ(frame.bytes[i], std::byte{0}) << i;
  EXPECT_EQ(frame.bytes[72], std::byte{0xFF}) << "and nothing is written behind it";
  EXPECT_TRUE(IsFrameOf(geometry, kSequence, frame.data()));
}

TEST_F(FrameTest, ZerosAreNeverAFrame) {
  EXPECT_FALSE(IsNeverWritten(geometry_, frame_.data()));
  frame_ = {};
  EXPECT_TRUE(IsNeverWritten(geometry_, frame_.data()));
  frame_.bytes[79] = std::byte{1};
  EXPECT_FALSE(IsNeverWritten(geometry_, frame_.data()));
}

// The seed for which the checksum of zeros comes out as 0: what the register must become, undone
// bit by bit. A frame of zeros would be valid for it.
std::uint32_t SeedThatLeadsToZero(std::size_t zero_bytes) {
  constexpr std::uint32_t kReflectedPolynomial = 0x82F63B78;
  std::uint32_t state = 0xFFFFFFFF;  // inverted in the end
  for (std::size_t bit = 0; bit < zero_bytes * 8; ++bit) {
    const bool was_odd = (state & 0x80000000U) != 0;
    state = was_odd ? ((state ^ kReflectedPolynomial) << 1U) | 1U : state << 1U;
  }
  return state;
}

TEST_F(FrameTest, NoChecksumIsZero) {
  Geometry geometry = GeometryOf(1, 3);
  geometry.seed = SeedThatLeadsToZero(1 + sizeof(std::uint64_t));
  const char record = 0;
  FrameBuffer frame = {};
  EXPECT_FALSE(IsFrameOf(geometry, 0, frame.data()));
  SealFrame(geometry, &record, 0, frame.data());
  EXPECT_TRUE(IsFrameOf(geometry, 0, frame.data()));
  EXPECT_FALSE(IsNeverWritten(geometry, frame.data()));
}

TEST(NearestSequenceTest, CompletesTheLowHalf) {
  constexpr std::uint64_t kHalf = std::uint64_t{1} << 32U;
  EXPECT_EQ(NearestSequence(5, 5), 5U);
  EXPECT_EQ(NearestSequence(5 * kHalf + 10, 9), 5 * kHalf + 9);
  EXPECT_EQ(NearestSequence(5 * kHalf + 10, 0xFFFFFFFF), 5 * kHalf - 1);
  EXPECT_EQ(NearestSequence(5 * kHalf - 10, 3), 5 * kHalf + 3);
  EXPECT_EQ(NearestSequence(5 * kHalf, 0x7FFFFFFF), 5 * kHalf + 0x7FFFFFFF);
}

}  // namespace
}  // namespace packetdb::host
