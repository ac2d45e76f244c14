// Files without a bound, and sequence numbers where their 31-bit tickets and their halves wrap.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/frame.h"
#include "host/record_file/settings.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

constexpr std::uint64_t kTickets = std::uint64_t{1} << 31U;

class RecordFileNumbers : public testing::Test {
 protected:
  // Opens a fresh file whose first record gets the sequence number `first`.
  void OpenAt(std::uint64_t first, unsigned long max_records) {
    path_ = MakeJournal(disk_, 0, max_records);
    StartAt(path_, first);
    ASSERT_EQ(Open(file_, path_, kModeWrite, max_records), kRecordFileOk);
    ASSERT_EQ(file_.RecordCount(), 0);
  }

  Disk disk_;
  CDbFile file_;
  std::string path_;
};

TEST_F(RecordFileNumbers, AnUnboundedFileGrowsAsOftenAsNeeded) {
  constexpr std::uint64_t kRecords = 50000;  // 4.3 MB in steps of 1 MiB
  path_ = MakeJournal(disk_, kRecords, kNoBound);
  ASSERT_EQ(Open(file_, path_, kModeWrite, kNoBound), kRecordFileOk);
  const std::vector<std::uint64_t> values = Values(file_);
  ASSERT_EQ(values.size(), kRecords);
  for (std::uint64_t i = 0; i < kRecords; ++i) ASSERT_EQ(values[i], i + 1);
}

TEST_F(RecordFileNumbers, AReaderFollowsAFileThatGrows) {
  OpenAt(0, kNoBound);
  CDbFile reader;
  ASSERT_EQ(Open(reader, path_, kModeRead, kNoBound), kRecordFileOk);
  for (std::uint64_t value = 0; value < 50000; ++value) {
    ASSERT_GE(Append(file_, value), 0);
    if (value % 1000 != 0) continue;
    ASSERT_EQ(reader.RecordCount(), static_cast<int>(value) + 1);
    TestRecord newest;
    ASSERT_GE(reader.ReadRecord(static_cast<int>(value), newest.data()), 0);
    ASSERT_EQ(ValueOf(newest), value);
  }
}

TEST_F(RecordFileNumbers, AFailedGrowthChangesNothingAndMayBeRetried) {
  path_ = MakeJournal(disk_, 0, kNoBound);
  const auto fill_up = [&] {
    const rlimit limit = {1500000, RLIM_INFINITY};
    if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    if (Open(file_, path_, kModeWrite, kNoBound) != kRecordFileOk) return 2;
    const Bytes::size_type length = ReadBytes(path_).size();
    std::uint64_t value = 0;
    int result = 0;
    while (result >= 0) result = Append(file_, ++value);
    if (result != kFileTooLarge || Append(file_, value) != kFileTooLarge) return 3;
    if (file_.RecordCount() != static_cast<int>(value) - 1) return 4;
    if (ReadBytes(path_).size() != length) return 5;
    const rlimit more = {RLIM_INFINITY, RLIM_INFINITY};
    if (setrlimit(RLIMIT_FSIZE, &more) != 0) return 6;
    return Append(file_, value) == static_cast<int>(value) - 1 ? 0 : 7;
  };
  EXPECT_EQ(InChild(fill_up), 0);
  const std::vector<std::uint64_t> values = Reopen(path_, kNoBound).values;
  ASSERT_GT(values.size(), 10000U);
  for (std::uint64_t i = 0; i < values.size(); ++i) ASSERT_EQ(values[i], i + 1);
}

TEST_F(RecordFileNumbers, AnUnboundedFileCutInItsGrowthIsSound) {
  path_ = MakeJournal(disk_, 2, kNoBound);
  Bytes bytes = ReadBytes(path_);
  bytes.resize(bytes.size() + 12345);  // a kill leaves whatever was allocated
  WriteBytes(path_, bytes);
  EXPECT_THAT(Reopen(path_, kNoBound).values, ElementsAre(1, 2));
  ASSERT_EQ(Open(file_, path_, kModeWrite, kNoBound), kRecordFileOk);
  for (std::uint64_t value = 3; value <= 40000; ++value) ASSERT_GE(Append(file_, value), 0);

  EXPECT_EQ(Values(file_).back(), 40000U);
}

// Puts a record into the slot of a number, wherever in the file that is.
void PutRecord(const std::string& path, std::uint64_t sequence, const void* record) {
  const Geometry geometry = GeometryOfFile(path);
  FrameBuffer frame;
  SealFrame(geometry, record, sequence, frame.data());
  const Descriptor file = OpenDescriptor(path, O_RDWR);
  ASSERT_EQ(pwrite(file.get(), frame.data(), geometry.frame_size,
                   static_cast<off_t>(OffsetOf(geometry, sequence))),
            static_cast<ssize_t>(geometry.frame_size));
}

// Nearly all of it is not there: the file has no bytes where nothing was written.
TEST_F(RecordFileNumbers, AFileHasNoMoreRecordsThanCanBeNumbered) {
  RecordFileSettings settings;
  settings.by_calls = true;
  SetRecordFileSettings(settings);
  const std::string path = disk_.NewPath();
  ASSERT_EQ(file_.Init(path, "m", 1, kNoBound, kModeMissing), kRecordFileOk);
  file_.Done();
  Bytes bytes = ReadBytes(path);
  StatePage state = StateOf(bytes);
  state.next = kMaxRecords - 1;
  PutSoundState(state, &bytes);
  WriteBytes(path, bytes);
  std::filesystem::resize_file(path, FileLength(kMaxRecords, FramesPerCell(FrameSize(1))));
  PutRecord(path, kMaxRecords - 2, "x");  // the newest, so that the page is believed
  ASSERT_EQ(file_.Init(path, "m", 1, kNoBound, kModeWrite), kRecordFileOk);
  EXPECT_EQ(file_.AppendRecord("x"), 0x7FFFFFFE);
  EXPECT_EQ(file_.AppendRecord("x"), kTooManyRecords);
  EXPECT_EQ(file_.RecordCount(), 0x7FFFFFFF);
  SetRecordFileSettings({});
}

TEST_F(RecordFileNumbers, AFileWithRoomEndsWithTheNumbers) {
  OpenAt(kMaxSequence - 2, kNoBound);
  EXPECT_GE(Append(file_, 1), 0);
  EXPECT_EQ(Append(file_, 2), kTooManyRecords);
  EXPECT_THAT(Values(file_), ElementsAre(1));
}

TEST_F(RecordFileNumbers, TicketsWrapWithTheirRecordsAlive) {
  OpenAt(kTickets - 3, 5);
  const std::vector<int> expected = {0x7FFFFFFD, 0x7FFFFFFE, 0x7FFFFFFF, 0, 1, 2, 3};
  for (std::uint64_t i = 0; i < expected.size(); ++i) ASSERT_EQ(Append(file_, i), expected[i]);
  EXPECT_EQ(Overwrite(file_, 0x7FFFFFFE, 10), kDeadTicket);
  EXPECT_EQ(Overwrite(file_, 0x7FFFFFFF, 20), kRecordFileOk);
  EXPECT_EQ(Overwrite(file_, 0, 30), kRecordFileOk);
  EXPECT_EQ(Overwrite(file_, 4, 40), kDeadTicket);
  EXPECT_THAT(Values(file_), ElementsAre(20, 30, 4, 5, 6));
}

TEST_F(RecordFileNumbers, TicketsWorkAroundEveryPowerOfTwo) {
  for (const unsigned int bits : {31U, 32U, 33U, 61U, 63U}) {
    OpenAt((std::uint64_t{1} << bits) - 4, 3);
    for (std::uint64_t value = 0; value < 8; ++value) {
      const int ticket = Append(file_, value);
      ASSERT_GE(ticket, 0);
      ASSERT_EQ(Overwrite(file_, ticket, value + 100), kRecordFileOk);
    }
    EXPECT_THAT(Values(file_), ElementsAre(105, 106, 107)) << bits;
    file_.Done();
    EXPECT_THAT(Reopen(path_).values, ElementsAre(105, 106, 107)) << bits;
  }
}

TEST_F(RecordFileNumbers, AnUnboundedFileNeedNotBeginAtZero) {
  OpenAt(kTickets - 2, kNoBound);
  for (std::uint64_t value = 1; value <= 4; ++value) ASSERT_GE(Append(file_, value), 0);
  EXPECT_EQ(Overwrite(file_, 0, 30), kRecordFileOk);
  EXPECT_EQ(Overwrite(file_, 0x7FFFFFFD, 0), kDeadTicket);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 30, 4));
}

}  // namespace
}  // namespace packetdb::host
