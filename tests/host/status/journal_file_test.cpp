#include "host/status/journal_file.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

#include "host/record_file/layout.h"
#include "tests/host/cli/stored_journal.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

constexpr std::int64_t kEpoch = std::int64_t{kStart} + TIME_1980_OFFSET;

class JournalFileTest : public testing::Test {
 protected:
  // What is told of it `seconds` after kStart.
  JournalFile Read(std::int64_t seconds = 100) const {
    JournalFile file;
    EXPECT_EQ(ReadJournalFile(path_, kEpoch + seconds, &file), kRecordFileOk);
    return file;
  }
  RecordFileResult ResultOf(const std::string& path) const {
    JournalFile file;
    file.records = 77;
    const RecordFileResult result = ReadJournalFile(path, kEpoch, &file);
    EXPECT_EQ(file.records, 77U) << "untouched";
    return result;
  }
  // Records at these seconds.
  void Make(const std::vector<std::uint32_t>& seconds, unsigned long capacity = 10) {
    std::vector<PacketDbItemPacked> records;
    for (const std::uint32_t second : seconds) records.push_back(RecordAt(second));
    Store(path_, records, capacity);
  }

  const TempDir directory_;
  const std::string path_ = directory_.Path("my.journal");
};

TEST_F(JournalFileTest, TellsWhatTheFileIs) {
  Make({0, 1, 2});
  const JournalFile file = Read();
  EXPECT_EQ(file.format, JournalFormat::k4);
  EXPECT_EQ(file.layout_version, kLayoutVersion);
  EXPECT_EQ(file.life, FileLife::kClosed);
  EXPECT_FALSE(file.writer);
  EXPECT_EQ(file.file_bytes, std::filesystem::file_size(path_));
  EXPECT_EQ(file.capacity, 10U);
  EXPECT_EQ(file.records, 3U);
  EXPECT_EQ(file.next, 3U);
  EXPECT_DOUBLE_EQ(*file.FillPercent(), 30);
  EXPECT_FALSE(file.IsOverwriting());
}

TEST_F(JournalFileTest, CountsWhatWasAppendedAndOverwritten) {
  Make({0, 1, 2, 3, 4, 5, 6}, 5);
  const JournalFile file = Read();
  EXPECT_EQ(file.records, 5U);
  EXPECT_EQ(file.appended, 7U);
  EXPECT_EQ(file.overwritten, 2U);
  EXPECT_EQ(file.oldest, kEpoch + 2);
  EXPECT_TRUE(file.IsOverwriting());
  EXPECT_DOUBLE_EQ(*file.FillPercent(), 100);
}

TEST_F(JournalFileTest, CountsWhatWasMergedBesideItsWriter) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 10);
  const int ticket = AppendTo(writer, JournalFormat::k4, RecordAt(0));
  for (std::uint32_t count = 2; count <= 4; ++count) {
    const PacketDbItemPacked record = RecordAt(0, count);
    ASSERT_EQ(writer.WriteRecord(ticket, &record), 0);
  }
  const JournalFile file = Read();
  EXPECT_TRUE(file.writer);
  EXPECT_EQ(file.life, FileLife::kOpen);
  EXPECT_EQ(file.merged, 3U);
  EXPECT_DOUBLE_EQ(*file.EventsPerRecord(), 4);
}

TEST_F(JournalFileTest, CountsOnWhenItIsResized) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 3);
  for (std::uint32_t second = 0; second < 5; ++second) {
    const int ticket = AppendTo(writer, JournalFormat::k4, RecordAt(second));
    const PacketDbItemPacked record = RecordAt(second, 2);
    ASSERT_EQ(writer.WriteRecord(ticket, &record), 0);
  }
  writer.Done();
  OpenToWrite(writer, path_, JournalFormat::k4, 2);
  writer.Done();
  const JournalFile file = Read();
  EXPECT_EQ(file.capacity, 2U);
  EXPECT_EQ(file.appended, 5U);
  EXPECT_EQ(file.overwritten, 3U);
  EXPECT_EQ(file.merged, 5U);
  EXPECT_DOUBLE_EQ(*file.EventsPerRecord(), 2);
}

TEST_F(JournalFileTest, HasNoTimesWhileItIsEmpty) {
  Make({});
  const JournalFile file = Read();
  EXPECT_EQ(file.oldest, std::nullopt);
  EXPECT_EQ(file.newest, std::nullopt);
  EXPECT_EQ(file.SecondsToOverwriting(), std::nullopt);
  EXPECT_EQ(file.EventsPerRecord(), std::nullopt);
}

TEST_F(JournalFileTest, KnowsThatARecordBeforeTheNewestWasSeenAgain) {
  std::vector<PacketDbItemPacked> records = {RecordAt(0), RecordAt(5), RecordAt(9)};
  records[1].m_LastTime = kStart + 50;
  Store(path_, records);
  const JournalFile file = Read();
  EXPECT_EQ(file.oldest, kEpoch);
  EXPECT_EQ(file.newest, kEpoch + 50);
}

TEST_F(JournalFileTest, ForecastsByTheNewestTenthOfTheTimeUntilNow) {
  Make({0, 50, 85, 91, 92, 93, 95}, 100);
  const JournalFile file = Read(100);
  ASSERT_TRUE(file.recent);
  EXPECT_EQ(file.recent->records, 4U);
  EXPECT_EQ(file.recent->seconds, 10U);
  EXPECT_EQ(file.SecondsToOverwriting(), 232U) << "93 records more at 4 in 10 seconds";
  EXPECT_EQ(file.SecondsKept(), 250U);
}

TEST_F(JournalFileTest, ForecastsNothingWhenNothingComes) {
  Make({0, 50, 85}, 100);
  EXPECT_EQ(Read(10000).SecondsToOverwriting(), std::nullopt);
  EXPECT_EQ(Read(10000).SecondsKept(), std::nullopt);
}

TEST_F(JournalFileTest, ForecastsWhateverTheClockWasSetTo) {
  Make({0, 50, 100}, 100);
  EXPECT_EQ(Read(-1000000).SecondsToOverwriting(), 970U)
      << "as if it were the newest record's time";
  EXPECT_EQ(Read(-kEpoch).SecondsToOverwriting(), 970U);
  EXPECT_EQ(Read(std::int64_t{1} << 40).SecondsToOverwriting(), std::nullopt);
}

TEST_F(JournalFileTest, SaysHowLongItKeepsWhatItOverwrites) {
  Make({0, 50, 80, 85, 92, 100, 100}, 5);
  const JournalFile file = Read(100);
  EXPECT_EQ(file.SecondsToOverwriting(), 0U);
  EXPECT_EQ(file.SecondsKept(), 5U) << "2 in 2 seconds: a tenth of those from the third on";
}

TEST_F(JournalFileTest, OverwritesNothingWithoutABound) {
  Make({0, 50, 99}, kWithoutBound);
  const JournalFile file = Read(100);
  EXPECT_FALSE(file.HasBound());
  EXPECT_EQ(file.FillPercent(), std::nullopt);
  EXPECT_EQ(file.SecondsToOverwriting(), std::nullopt);
  EXPECT_EQ(file.SecondsKept(), std::nullopt);
  EXPECT_FALSE(file.IsOverwriting());
}

// Where the frame of a record lies in a journal: six frames of 80 bytes in each cell.
std::uint64_t ByteOfRecord(std::uint64_t record) {
  return kCellsOffset + record / 6 * kCellSize + record % 6 * 80;
}

TEST_F(JournalFileTest, LooksPastDamagedRecordsAtEitherEnd) {
  Make({0, 1, 2, 3, 4});
  for (const std::uint64_t record : {0U, 4U}) Overwrite(path_, ByteOfRecord(record) + 20, "damage");
  const JournalFile file = Read();
  EXPECT_EQ(file.oldest, kEpoch + 1);
  EXPECT_EQ(file.newest, kEpoch + 3);
  EXPECT_EQ(file.records, 5U);
}

TEST_F(JournalFileTest, HasNoTimesWhenNothingCanBeRead) {
  Make({0});
  Overwrite(path_, ByteOfRecord(0) + 20, "damage");
  EXPECT_EQ(Read().oldest, std::nullopt);
  EXPECT_EQ(Read().newest, std::nullopt);
}

TEST_F(JournalFileTest, ReadsEveryFormat) {
  for (const JournalFormat format : {JournalFormat::k3, JournalFormat::k41}) {
    std::filesystem::remove(path_);
    Store(path_, {RecordAt(0), RecordAt(7)}, 10, format);
    const JournalFile file = Read();
    EXPECT_EQ(file.format, format);
    EXPECT_EQ(file.newest, kEpoch + 7);
  }
}

TEST_F(JournalFileTest, RefusesWhatIsNoJournal) {
  EXPECT_EQ(ResultOf(path_), kMissing);
  EXPECT_EQ(ResultOf(directory_.Path()), kIsDirectory);
  EXPECT_EQ(ResultOf(directory_.File("short", {'x'})), kNotARecordFile);
  CDbFile other;
  ASSERT_EQ(other.Init(path_, "another", 72, 10, 5), 0);
  EXPECT_EQ(ResultOf(path_), kOtherFormat);
}

TEST_F(JournalFileTest, RefusesAFileThatWasCut) {
  Make({0, 1, 2});
  std::filesystem::resize_file(path_, 5000);
  EXPECT_EQ(ResultOf(path_), kTruncatedFile);
}

// A ring so small that the records looked at are overwritten all the time.
TEST_F(JournalFileTest, IsToldOfWhileItIsWritten) {
  CDbFile writer;
  OpenToWrite(writer, path_, JournalFormat::k4, 10);
  std::atomic<bool> is_over = false;
  std::thread writing([&] {
    const PacketDbItemPacked record = RecordAt(5);
    while (!is_over) ASSERT_GE(AppendTo(writer, JournalFormat::k4, record), 0);
  });
  std::uint64_t appended = 0;
  for (int i = 0; i < 2000; ++i) {
    const JournalFile file = Read();
    EXPECT_LE(file.records, 10U);
    EXPECT_EQ(file.appended, file.next);
    EXPECT_EQ(file.appended, file.records + file.overwritten);
    EXPECT_GE(file.appended, appended) << "never less than before";
    EXPECT_EQ(file.oldest.value_or(kEpoch + 5), kEpoch + 5) << "never something else";
    EXPECT_EQ(file.newest.value_or(kEpoch + 5), kEpoch + 5);
    appended = file.appended;
  }
  is_over = true;
  writing.join();
}

}  // namespace
}  // namespace packetdb::host::test
