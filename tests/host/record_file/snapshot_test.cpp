#include "host/record_file/snapshot.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

#include "host/record_file/open.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

// A file that is looked at from outside.
class Onlooker {
 public:
  explicit Onlooker(const std::string& path) : opened_(OpenUnlocked(path, Access::kRead, &file_)) {}

  RecordFileResult Begin() { return opened_ < 0 ? opened_ : snapshot_.emplace(file_).Begin(); }
  RecordFileResult BeginDespiteDamage() {
    return opened_ < 0 ? opened_ : snapshot_.emplace(file_).BeginDespiteDamage();
  }
  Snapshot& snapshot() { return *snapshot_; }

  // The value of each record of the snapshot; none for one that is gone or unstable.
  std::vector<std::optional<std::uint64_t>> Values() {
    std::vector<std::optional<std::uint64_t>> values;
    for (std::uint64_t sequence = snapshot_->oldest(); sequence < snapshot_->end(); ++sequence) {
      values.push_back(Value(sequence));
    }
    return values;
  }
  std::optional<std::uint64_t> Value(std::uint64_t sequence) {
    SnapshotRecord record;
    EXPECT_EQ(snapshot_->Read(sequence, &record), kRecordFileOk);
    EXPECT_EQ(record.sequence, sequence);
    if (record.fate != RecordFate::kWhole) return std::nullopt;
    TestRecord content;
    std::memcpy(content.data(), record.bytes, sizeof content);
    return ValueOf(content);
  }

 private:
  Descriptor file_;
  RecordFileResult opened_;
  std::optional<Snapshot> snapshot_;
};

TEST(RecordFileSnapshot, ReadsEveryRecordFromOldToNew) {
  Disk disk;
  Onlooker onlooker(MakeJournal(disk, 5, 3));
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_EQ(onlooker.snapshot().oldest(), 2U);
  EXPECT_EQ(onlooker.snapshot().end(), 5U);
  EXPECT_THAT(onlooker.Values(), ElementsAre(3, 4, 5));
}

TEST(RecordFileSnapshot, ReadsAFileOfManyChunks) {
  constexpr std::uint64_t kCount = 5000;
  Disk disk;
  for (const unsigned long capacity : {4000UL, kNoBound}) {
    Onlooker onlooker(MakeJournal(disk, kCount, capacity));
    ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
    const std::uint64_t oldest = onlooker.snapshot().oldest();
    const auto values = onlooker.Values();
    ASSERT_EQ(values.size(), capacity == kNoBound ? kCount : capacity);
    for (std::size_t i = 0; i < values.size(); ++i) ASSERT_EQ(values[i], oldest + i + 1);
  }
}

TEST(RecordFileSnapshot, ReadsWhatATruncatedFileStillHas) {
  Disk disk;
  const std::string path = MakeJournal(disk, 5, 5);
  std::filesystem::resize_file(path, 8192 + 3 * 72 + 71);
  Onlooker onlooker(path);
  EXPECT_EQ(onlooker.Begin(), kTruncatedFile);
  ASSERT_EQ(onlooker.BeginDespiteDamage(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2, 3, std::nullopt, std::nullopt));
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(3, &record), kRecordFileOk);
  EXPECT_EQ(record.fate, RecordFate::kMissing);
  EXPECT_EQ(record.offset, 8192U + 3 * 72);
}

TEST(RecordFileSnapshot, ReadsAFileThatIsTooLong) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2, 5);
  std::filesystem::resize_file(path, 100000);
  Onlooker onlooker(path);
  EXPECT_EQ(onlooker.Begin(), kOverlongFile);
  ASSERT_EQ(onlooker.BeginDespiteDamage(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2));
}

TEST(RecordFileSnapshot, ReadsAFileWhoseRedoWordIsDamaged) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2, 5);
  Bytes bytes = ReadBytes(path);
  StateWords state = StateOf(bytes);
  state.redo = 77;
  PutState(state, &bytes);
  WriteBytes(path, bytes);
  Onlooker onlooker(path);
  EXPECT_EQ(onlooker.Begin(), kDamagedState);
  ASSERT_EQ(onlooker.BeginDespiteDamage(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2));
}

TEST(RecordFileSnapshot, OtherDamageKeepsItFromBeginning) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2, 5);
  const Bytes sound = ReadBytes(path);
  const auto begin = [&](std::size_t position) {
    Bytes bytes = sound;
    bytes[position] = '\x7f';
    WriteBytes(path, bytes);
    return Onlooker(path).BeginDespiteDamage();
  };
  EXPECT_EQ(begin(64), kDamagedHeader);
  EXPECT_EQ(begin(4096 + 7), kDamagedState);
  WriteBytes(path, {sound.begin(), sound.begin() + 4100});
  EXPECT_EQ(Onlooker(path).BeginDespiteDamage(), kTruncatedFile);
}

TEST(RecordFileSnapshot, ReadsInAnyOrder) {
  Disk disk;
  Onlooker onlooker(MakeJournal(disk, 4000, 3000));
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_EQ(onlooker.Value(3999), 4000U);
  EXPECT_EQ(onlooker.Value(1000), 1001U);
  EXPECT_EQ(onlooker.Value(2500), 2501U);
}

TEST(RecordFileSnapshot, TellsWhereEachRecordIs) {
  Disk disk;
  Onlooker onlooker(MakeJournal(disk, 5, 3));
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(3, &record), kRecordFileOk);
  EXPECT_EQ(record.offset, 8192U + 3 * 72);
  ASSERT_EQ(onlooker.snapshot().Read(4, &record), kRecordFileOk);
  EXPECT_EQ(record.offset, 8192U) << "behind the last slot comes the first";
}

TEST(RecordFileSnapshot, ReadsRecordsLargerThanAChunk) {
  constexpr std::size_t kSize = 300001;
  Disk disk;
  const std::string path = disk.NewPath();
  CDbFile writer;
  ASSERT_EQ(writer.Init(path, kTestMagic, kSize, 2, kModeMissing), kRecordFileOk);
  for (const char fill : {'a', 'b', 'c'}) writer.AppendRecord(Bytes(kSize, fill).data());
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(2, &record), kRecordFileOk);
  ASSERT_EQ(record.fate, RecordFate::kWhole);
  EXPECT_EQ(std::memcmp(record.bytes, Bytes(kSize, 'c').data(), kSize), 0);
}

TEST(RecordFileSnapshot, LooksAtAFileThatIsOpenForWriting) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2));
  EXPECT_EQ(Append(writer, 3), 2) << "the writer does not notice";
}

TEST(RecordFileSnapshot, DoesNotKeepAWriterOut) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  CDbFile writer;
  EXPECT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
}

TEST(RecordFileSnapshot, ShowsTheRecordsOfItsBeginning) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2, 10);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeWrite, 10), kRecordFileOk);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  Append(writer, 3);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 2));
}

TEST(RecordFileSnapshot, SaysWhichRecordsAreGone) {
  Disk disk;
  const std::string path = MakeJournal(disk, 3);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  Append(writer, 4);
  EXPECT_THAT(onlooker.Values(), ElementsAre(std::nullopt, 2, 3));
  for (std::uint64_t value = 5; value < 50; ++value) Append(writer, value);
  Onlooker lapped(path);
  ASSERT_EQ(lapped.Begin(), kRecordFileOk);
  for (std::uint64_t value = 50; value < 60; ++value) Append(writer, value);
  SnapshotRecord record;
  ASSERT_EQ(lapped.snapshot().Read(lapped.snapshot().oldest(), &record), kRecordFileOk);
  EXPECT_EQ(record.fate, RecordFate::kGone);
  EXPECT_EQ(record.bytes, nullptr);
}

TEST(RecordFileSnapshot, AHalfWrittenAppendTouchesNoRecord) {
  Disk disk;
  const std::string path = MakeJournal(disk, 5, 3);
  Bytes bytes = ReadBytes(path);
  std::fill_n(bytes.begin() + 8192 + 72, 40, 'x');  // the slot that record 5 will have
  WriteBytes(path, bytes);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(3, 4, 5));
}

TEST(RecordFileSnapshot, ReadsAnInterruptedOverwriteFromTheRedoRecord) {
  Disk disk;
  const std::string path = MakeJournal(disk, 3);
  Bytes bytes = ReadBytes(path);
  StateWords state = StateOf(bytes);
  state.redo = 1 + 1;
  PutState(state, &bytes);
  const TestRecord redone = MakeTestRecord(200);
  std::memcpy(bytes.data() + kRedoRecordOffset, redone.data(), sizeof redone);
  std::fill_n(bytes.begin() + 8192 + 72, 40, 'x');
  WriteBytes(path, bytes);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  EXPECT_THAT(onlooker.Values(), ElementsAre(1, 200, 3));
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(1, &record), kRecordFileOk);
  EXPECT_EQ(record.offset, kRedoRecordOffset);
  EXPECT_EQ(ReadBytes(path), bytes) << "and nothing is written";
}

TEST(RecordFileSnapshot, RefusesARedoOfARecordThatIsNotThere) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2);
  Bytes bytes = ReadBytes(path);
  StateWords state = StateOf(bytes);
  state.redo = 3;
  PutState(state, &bytes);
  WriteBytes(path, bytes);
  EXPECT_EQ(Onlooker(path).Begin(), kDamagedState);
}

TEST(RecordFileSnapshot, RefusesEveryTruncation) {
  Disk disk;
  const std::string path = MakeJournal(disk, 2);
  const Bytes sound = ReadBytes(path);
  for (std::size_t length = 0; length < sound.size(); length += 7) {
    WriteBytes(path, {sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length)});
    ASSERT_LT(Onlooker(path).Begin(), 0) << length;
  }
}

TEST(RecordFileSnapshot, AFileThatIsCutMeanwhileIsAFailure) {
  Disk disk;
  const std::string path = MakeJournal(disk, 3);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  std::filesystem::resize_file(path, 8192 + 100);
  SnapshotRecord record;
  EXPECT_EQ(onlooker.snapshot().Read(0, &record), kTruncatedFile);
  std::filesystem::resize_file(path, 4100);
  EXPECT_EQ(onlooker.snapshot().Read(0, &record), kTruncatedFile);
}

TEST(RecordFileSnapshot, ACommitWordThatGoesBackIsNoRecord) {
  Disk disk;
  const std::string path = MakeJournal(disk, 3);
  Onlooker onlooker(path);
  ASSERT_EQ(onlooker.Begin(), kRecordFileOk);
  const std::uint64_t one = 1;
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  ASSERT_EQ(pwrite(file.get(), &one, sizeof one, kStateOffset), 8);
  SnapshotRecord record;
  ASSERT_EQ(onlooker.snapshot().Read(0, &record), kRecordFileOk);
  EXPECT_EQ(record.fate, RecordFate::kUnstable);
  EXPECT_EQ(record.offset, 8192U);
}

// A record's value: its number in the low half, how often it was overwritten in the high half.
constexpr std::uint64_t ValueFor(std::uint64_t sequence, std::uint64_t version) {
  return version << 32U | sequence;
}

// Appends and overwrites for as long as the process lives.
[[noreturn]] void WriteForEver(const std::string& path, unsigned long capacity) {
  CDbFile file;
  if (Open(file, path, kModeWrite, capacity) < 0) _exit(1);
  constexpr std::uint64_t kOverwrites = 3;  // of the new record and of an old one
  for (std::uint64_t sequence = 0;; ++sequence) {
    if (Append(file, ValueFor(sequence, 0)) < 0) _exit(2);
    for (std::uint64_t version = 1; version <= kOverwrites; ++version) {
      Overwrite(file, static_cast<int>(sequence), ValueFor(sequence, version));
      const std::uint64_t old = sequence - capacity / 2;
      if (sequence < capacity / 2) continue;
      Overwrite(file, static_cast<int>(old), ValueFor(old, kOverwrites + version));
    }
  }
}

constexpr unsigned long kLargest = 5000;  // records; far more than are appended during a look

class FullSpeed : public testing::TestWithParam<unsigned long> {
 protected:
  FullSpeed() : path_(MakeJournal(disk_, 0, GetParam())), writer_(fork()) {
    if (writer_ == 0) WriteForEver(path_, GetParam());
  }
  ~FullSpeed() override {
    if (!writer_works_) return;
    kill(writer_, SIGKILL);
    waitpid(writer_, nullptr, 0);
  }

  bool WriterWorks() {
    writer_works_ = writer_works_ && waitpid(writer_, nullptr, WNOHANG) == 0;
    return writer_works_;
  }

  // Looks at every record once; the number of the newest.
  std::uint64_t Look() {
    Onlooker onlooker(path_);
    EXPECT_EQ(onlooker.Begin(), kRecordFileOk);
    std::uint64_t sequence = onlooker.snapshot().oldest();
    for (const auto& value : onlooker.Values()) {
      if (value) {
        EXPECT_EQ(*value & 0xFFFFFFFF, sequence) << "another record's content";
        ++whole_;
      }
      ++sequence;
    }
    return sequence;
  }

  Disk disk_;
  std::string path_;
  pid_t writer_;
  bool writer_works_ = true;
  std::uint64_t whole_ = 0;
};

TEST_P(FullSpeed, NeverShowsARecordThatWasNotWritten) {
  constexpr int kLooks = 300;
  while (Look() < 2 * GetParam()) ASSERT_TRUE(WriterWorks() && !HasFailure());
  std::uint64_t newest = 0;
  for (int i = 0; i < kLooks && !HasFailure(); ++i) newest = Look();
  // An idle machine may lap the small ones every time.
  EXPECT_TRUE(whole_ > 0 || GetParam() < kLargest);
  EXPECT_GT(newest, 2 * GetParam());
  EXPECT_TRUE(WriterWorks()) << "all the time";
}

INSTANTIATE_TEST_SUITE_P(Capacities, FullSpeed, testing::Values(3UL, 64UL, kLargest),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace packetdb::host
