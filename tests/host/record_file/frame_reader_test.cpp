// Reading a record that may be torn, overwritten or gone, without a lock.
#include "host/record_file/frame_reader.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <optional>
#include <thread>

#include "host/record_file/ring.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

class FrameReaderTest : public testing::TestWithParam<Way> {
 protected:
  void SetBytes(const Bytes& bytes) {
    WriteBytes(path_, bytes);
    open_.emplace(path_, GetParam());
    reader_.emplace(open_->medium, geometry_);
  }

  RecordFileResult Read(std::uint64_t sequence) { return reader_->Read(sequence, &frame_); }
  std::uint64_t Value() const {
    TestRecord record;
    std::memcpy(record.data(), frame_.data(), sizeof record);
    return ValueOf(record);
  }

  // The word of the file's state at an offset becomes `value`.
  void Store(std::uint64_t offset, std::uint64_t value) {
    ASSERT_EQ(open_->medium.StoreWord(offset, value), kRecordFileOk);
  }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 3);  // sequence numbers 0 to 2 hold 1 to 3
  Geometry geometry_ = GeometryOfFile(path_);
  Bytes bytes_ = ReadBytes(path_);
  FrameBuffer frame_ = {};
  std::optional<OpenBytes> open_;
  std::optional<FrameReader> reader_;
};

INSTANTIATE_TEST_SUITE_P(BothWays, FrameReaderTest, testing::Values(Way::kMapped, Way::kByCalls));

TEST_P(FrameReaderTest, ReadsWhatTheSlotHolds) {
  SetBytes(bytes_);
  ASSERT_EQ(Read(1), kRecordFileOk);
  EXPECT_EQ(Value(), 2U);
  EXPECT_TRUE(reader_->SlotHas(1));
  EXPECT_FALSE(reader_->SlotHas(3));
}

TEST_P(FrameReaderTest, ReadsFromTheRedoSectorWhatIsTornInItsSlot) {
  PutFrame(geometry_, 1, 20, kRedoOffset, &bytes_);
  PutFrame(geometry_, 1, 20, OffsetOf(geometry_, 1), &bytes_);
  std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(OffsetOf(geometry_, 1)) + 30, 40, 'x');
  SetBytes(bytes_);
  ASSERT_EQ(Read(1), kRecordFileOk);
  EXPECT_EQ(Value(), 20U);
  EXPECT_TRUE(reader_->RedoHas(1));
  EXPECT_FALSE(reader_->RedoHas(2));
  EXPECT_FALSE(reader_->SlotHas(1));
}

TEST_P(FrameReaderTest, TakesNoOtherRecordsRedoForATornOne) {
  PutFrame(geometry_, 2, 20, kRedoOffset, &bytes_);
  bytes_[OffsetOf(geometry_, 1)] = 'x';
  SetBytes(bytes_);
  EXPECT_EQ(Read(1), kDamagedRecord);
}

TEST_P(FrameReaderTest, TakesARecordOfAnotherLapForDamage) {
  PutFrame(geometry_, 1 + geometry_.slot_count, 2, OffsetOf(geometry_, 1), &bytes_);
  SetBytes(bytes_);
  EXPECT_EQ(Read(1), kDamagedRecord);
}

TEST_P(FrameReaderTest, TellsThatANewerRecordHasTheSlot) {
  PutFrame(geometry_, 1 + geometry_.slot_count, 2, OffsetOf(geometry_, 1), &bytes_);
  SetBytes(bytes_);
  Store(kNextOffset, 1 + geometry_.slot_count);
  EXPECT_EQ(Read(1), kRecordGone) << "from when the newer one's append may have begun";
  Store(kNextOffset, geometry_.slot_count);
  EXPECT_EQ(Read(1), kDamagedRecord);
}

TEST_P(FrameReaderTest, ANonsensicalCommitWordOvertakesNothing) {
  bytes_[OffsetOf(geometry_, 1)] = 'x';
  SetBytes(bytes_);
  Store(kNextOffset, ~std::uint64_t{0});
  EXPECT_EQ(Read(1), kDamagedRecord);
  Store(kNextOffset, 0);
  EXPECT_EQ(Read(1), kDamagedRecord);
}

TEST_P(FrameReaderTest, NothingOvertakesAReaderOfAFileWithoutABound) {
  path_ = MakeJournal(disk_, 3, kNoBound);
  geometry_ = GeometryOfFile(path_);
  bytes_ = ReadBytes(path_);
  bytes_[OffsetOf(geometry_, 1)] = 'x';
  SetBytes(bytes_);
  Store(kNextOffset, 1 + geometry_.slot_count);
  EXPECT_EQ(Read(1), kDamagedRecord);
}

TEST_P(FrameReaderTest, NoticesThatTheFileIsCut) {
  SetBytes(bytes_);
  std::filesystem::resize_file(path_, kCellsOffset);
  EXPECT_EQ(Read(1), GetParam() == Way::kMapped ? kFileLost : kTruncatedFile);
}

// A writer that overwrites without end. The record that is read is torn all the time, and its frame
// was in the redo sector a moment ago: a count that moves is a reason to look again.
TEST_P(FrameReaderTest, LooksAgainWhileOverwritesGoOn) {
  SetBytes(bytes_);
  OpenBytes writer_bytes(path_, GetParam());
  std::atomic<bool> stops = false;
  std::thread writer([&] {
    Ring ring(writer_bytes.medium, geometry_, 3, 0);
    for (std::uint64_t value = 1; !stops; ++value) {
      ring.Overwrite(value % 2, MakeTestRecord(value).data());
    }
  });
  for (int i = 0; i < 20'000; ++i) {
    ASSERT_EQ(Read(static_cast<std::uint64_t>(i % 2)), kRecordFileOk) << i;
    Value();
  }
  stops = true;
  writer.join();
}

// A slot that stays damaged while overwrites go on: no count stands still for long, and the reader
// comes to an end all the same.
TEST_P(FrameReaderTest, GivesUpOnDamageUnderABusyWriter) {
  bytes_[OffsetOf(geometry_, 1)] = 'x';
  SetBytes(bytes_);
  OpenBytes writer_bytes(path_, GetParam());
  std::atomic<bool> stops = false;
  std::thread writer([&] {
    for (std::uint64_t merges = 1; !stops; ++merges) {
      writer_bytes.medium.StoreWord(kMergesOffset, merges);
    }
  });
  for (int i = 0; i < 20; ++i) EXPECT_EQ(Read(1), kDamagedRecord);
  stops = true;
  writer.join();
}

}  // namespace
}  // namespace packetdb::host
