// What a slot holds, seen from the record that should be there.
#include "host/record_file/slot_content.h"

#include <gmock/gmock.h>

#include "host/record_file/frame.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

class SlotContentTest : public testing::Test {
 protected:
  // Of the slot of `expected` when it has the frame of `sequence`.
  SlotContent Content(std::uint64_t expected, std::uint64_t sequence) {
    SealFrame(geometry_, MakeTestRecord(1).data(), sequence, frame_.data());
    return ContentOf(geometry_, expected, frame_.data());
  }

  Geometry geometry_ = GeometryOf(72, 3);
  std::uint64_t lap_ = geometry_.slot_count;
  FrameBuffer frame_ = {};
};

TEST_F(SlotContentTest, IsTheRecord) { EXPECT_EQ(Content(7, 7), SlotContent::kRecord); }

TEST_F(SlotContentTest, IsNothingInANewFile) {
  EXPECT_EQ(ContentOf(geometry_, 7, frame_.data()), SlotContent::kNothing);
}

TEST_F(SlotContentTest, IsOfAnotherLap) {
  EXPECT_EQ(Content(7 + lap_, 7), SlotContent::kOlder);
  EXPECT_EQ(Content(7, 7 + 2 * lap_), SlotContent::kNewer);
}

TEST_F(SlotContentTest, IsTornWhenItIsNoFrame) {
  Content(7, 7);
  frame_.bytes[3] ^= std::byte{1};
  EXPECT_EQ(ContentOf(geometry_, 7, frame_.data()), SlotContent::kTorn);
}

TEST_F(SlotContentTest, IsTornWhenNoRecordOfThatNumberBelongsThere) {
  EXPECT_EQ(Content(7, 8), SlotContent::kTorn) << "another slot's";
  geometry_.first_sequence = 10;
  EXPECT_EQ(Content(7 + lap_, 7), SlotContent::kTorn) << "from before the first";
  EXPECT_EQ(Content(kMaxSequence - 1, kMaxSequence - 1 + lap_), SlotContent::kTorn)
      << "beyond the last";
}

}  // namespace
}  // namespace packetdb::host
