// Kills at every instruction: the record file after each single one of an operation is what a kill
// there would leave, and must be recovered as it was before the operation or as it is after it.
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <optional>

#include "tests/host/record_file/journal.h"
#include "tests/host/record_file/stepper.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::Ge;

using Numbers = std::vector<std::uint64_t>;

// Looks at a file after every step: a copy of it is recovered whenever its bytes have changed.
class Witness {
 public:
  Witness(Disk& disk, std::string path, Numbers before, Numbers after, unsigned long max_records)
      : path_(std::move(path)),
        copy_(disk.NewPath()),
        before_(std::move(before)),
        after_(std::move(after)),
        max_records_(max_records) {}

  void Look(bool returned) {
    Bytes bytes = ReadBytes(path_);
    if (bytes == seen_ && !returned) return;
    seen_ = std::move(bytes);
    ++states_;
    WriteBytes(copy_, seen_);
    const Numbers values = Reopen(copy_, max_records_).values;
    if (values == after_) {
      committed_ = true;
    } else {
      EXPECT_EQ(values, before_);
      EXPECT_FALSE(returned) << "lost although the operation had returned";
      EXPECT_FALSE(committed_) << "gone again after it had been there";
    }
  }

  int states() const { return states_; }

 private:
  std::string path_;
  std::string copy_;
  Numbers before_;
  Numbers after_;
  unsigned long max_records_;
  Bytes seen_;
  int states_ = 0;
  bool committed_ = false;
};

class RecordFileStep : public testing::Test {
 protected:
  // Steps through `act` on an open writer of the file; expects at least `states` different
  // contents of the file on the way, so that a test that sees nothing fails.
  template <class Act>
  void ExpectSafe(const std::string& path, const Numbers& before, const Numbers& after, int states,
                  Act act) {
    CDbFile file;  // opened here, so that the child has nothing to do but the operation
    ASSERT_EQ(Open(file, path, kModeWrite), kRecordFileOk);
    Witness witness(disk_, path, before, after, 3);
    const TestRecord record = MakeTestRecord(77);
    const auto act_once = [&] {
      if (act(file, record.data()) < 0) abort();
    };
    const int stops =
        StepThrough(Step::kInstruction, act_once, [&](bool returned) { witness.Look(returned); });
    EXPECT_GT(stops, 20);
    EXPECT_THAT(witness.states(), Ge(states));
  }

  Disk disk_;
};

int AppendIt(CDbFile& file, const void* record) { return file.AppendRecord(record); }

// At least: untouched, a part of the slot, the commit word moved.
TEST_F(RecordFileStep, AnAppendIsThereOrNot) {
  ExpectSafe(MakeJournal(disk_, 1), {1}, {1, 77}, 3, AppendIt);
}

TEST_F(RecordFileStep, AnAppendToAFullFileNeverCostsTheOldestRecord) {
  for (std::uint64_t count = 3; count < 8; ++count) {
    ExpectSafe(MakeJournal(disk_, count), {count - 2, count - 1, count}, {count - 1, count, 77}, 3,
               AppendIt);
  }
}

// At least: untouched, the redo record, armed, a part of the slot, disarmed.
TEST_F(RecordFileStep, AnOverwriteIsOldOrNew) {
  for (int ticket = 2; ticket < 5; ++ticket) {
    Numbers after = {3, 4, 5};
    after[static_cast<std::size_t>(ticket - 2)] = 77;
    const auto overwrite = [&](CDbFile& file, const void* record) {
      return file.WriteRecord(ticket, record);
    };
    ExpectSafe(MakeJournal(disk_, 5), {3, 4, 5}, after, 5, overwrite);
  }
}

TEST_F(RecordFileStep, ARefusedOverwriteChangesNothing) {
  const auto overwrite = [&](CDbFile& file, const void* record) {
    return file.WriteRecord(0, record) == kDeadTicket ? 0 : -1;
  };
  ExpectSafe(MakeJournal(disk_, 5), {3, 4, 5}, {3, 4, 5}, 1, overwrite);
}

// Two operations in a row: the second must not begin before the first is complete in the file.
TEST_F(RecordFileStep, AnOverwriteRightAfterAnAppendKeepsTheOrder) {
  const std::string path = MakeJournal(disk_, 5);
  const Numbers before = {3, 4, 5};
  std::vector<Numbers> seen;
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeWrite), kRecordFileOk);
  const TestRecord record = MakeTestRecord(77);
  const TestRecord changed = MakeTestRecord(78);
  const std::string copy = disk_.NewPath();
  const auto act = [&] {
    file.AppendRecord(record.data());
    file.WriteRecord(5, changed.data());
    file.WriteRecord(3, changed.data());
  };
  std::optional<Bytes> last;
  const auto look = [&](bool) {
    Bytes bytes = ReadBytes(path);
    if (bytes == last) return;
    last = std::move(bytes);
    WriteBytes(copy, *last);
    const Numbers values = Reopen(copy).values;
    if (seen.empty() || seen.back() != values) seen.push_back(values);
  };
  ASSERT_GT(StepThrough(Step::kInstruction, act, look), 0);
  EXPECT_THAT(seen, ElementsAre(before, Numbers{4, 5, 77}, Numbers{4, 5, 78}, Numbers{78, 5, 78}));
}

// A file whose writer was killed in the middle of an overwrite: the slot is torn, the redo armed.
std::string MakeTornJournal(Disk& disk) {
  std::string path = MakeJournal(disk, 5);
  Bytes bytes = ReadBytes(path);
  StateWords state = StateOf(bytes);
  state.redo = 1 + 3;
  PutState(state, &bytes);
  const TestRecord redone = MakeTestRecord(77);
  const auto* const from = reinterpret_cast<const char*>(redone.data());
  const std::uint64_t slot = SlotsOffset(kTestRecordSize) + 3 * kTestRecordSize;
  std::copy_n(from, kTestRecordSize, bytes.begin() + kRedoRecordOffset);
  std::copy_n(from, kTestRecordSize / 2, bytes.begin() + static_cast<std::ptrdiff_t>(slot));
  WriteBytes(path, bytes);
  return path;
}

TEST_F(RecordFileStep, RecoveryMayBeKilledAnywhere) {
  const std::string path = MakeTornJournal(disk_);
  Witness witness(disk_, path, {3, 77, 5}, {3, 77, 5}, 3);
  const auto recover = [&] {
    CDbFile file;
    if (Open(file, path, kModeWrite) < 0) abort();
  };
  StepThrough(Step::kInstruction, recover, [&](bool returned) { witness.Look(returned); });
  EXPECT_THAT(witness.states(), Ge(3)) << "at least: torn, copied, disarmed";
}

TEST_F(RecordFileStep, ClosingMayBeKilledAtAnySystemCall) {
  const std::string path = MakeJournal(disk_, 5);
  Witness witness(disk_, path, {3, 4, 5}, {4, 5, 77}, 3);
  const auto work = [&] {
    CDbFile file;
    if (Open(file, path, kModeWrite) < 0 || Append(file, 77) < 0) abort();
  };
  EXPECT_GT(StepThrough(Step::kSystemCall, work, [&](bool done) { witness.Look(done); }), 10);
  EXPECT_THAT(witness.states(), Ge(2));
}

TEST_F(RecordFileStep, GrowthMayBeKilledAtAnySystemCall) {
  const std::uint64_t slots = (1U << 20U) / kTestRecordSize;
  const std::string path = MakeJournal(disk_, slots, kNoBound);
  Numbers before(slots);
  for (std::uint64_t i = 0; i < slots; ++i) before[i] = i + 1;
  Numbers after = before;
  after.push_back(77);
  const auto length = std::filesystem::file_size(path);
  Witness witness(disk_, path, before, after, kNoBound);
  const auto work = [&] {
    CDbFile file;
    if (Open(file, path, kModeWrite, kNoBound) < 0 || Append(file, 77) < 0) abort();
  };
  EXPECT_GT(StepThrough(Step::kSystemCall, work, [&](bool done) { witness.Look(done); }), 10);
  EXPECT_GT(std::filesystem::file_size(path), length);
  EXPECT_THAT(witness.states(), Ge(3)) << "at least: as before, grown, appended";
}

// A folder as a creation killed at some system call leaves it, in a copy.
class CreationWitness {
 public:
  CreationWitness(Disk& disk, std::string path, std::optional<Numbers> before)
      : path_(std::move(path)), copy_(disk.NewPath()), before_(std::move(before)) {}

  void Look(bool returned) {
    const bool there = CopyOver("");
    leftovers_ += CopyOver(".~new") ? 1 : 0;
    if (!there) {
      EXPECT_FALSE(before_.has_value() || returned) << "the path shows nothing";
    } else {
      CheckFile(returned);
    }
    CDbFile file;  // whatever was left behind, creation works the next time
    EXPECT_EQ(Open(file, copy_, kModeAnew), kRecordFileOk);
    EXPECT_FALSE(std::filesystem::exists(copy_ + ".~new"));
  }

  int leftovers() const { return leftovers_; }

 private:
  bool CopyOver(const std::string& suffix) {
    std::filesystem::remove(copy_ + suffix);
    if (!std::filesystem::exists(path_ + suffix)) return false;
    WriteBytes(copy_ + suffix, ReadBytes(path_ + suffix));
    return true;
  }

  void CheckFile(bool returned) {
    const Outcome outcome = Reopen(copy_);
    EXPECT_EQ(outcome.result, kRecordFileOk) << "a half-made file";
    if (outcome.values.empty()) return;
    EXPECT_EQ(outcome.values, before_);
    EXPECT_FALSE(returned);
  }

  std::string path_;
  std::string copy_;
  std::optional<Numbers> before_;
  int leftovers_ = 0;
};

TEST_F(RecordFileStep, CreationMayBeKilledAtAnySystemCall) {
  const std::string path = disk_.NewPath();
  CreationWitness witness(disk_, path, std::nullopt);
  const auto create = [&] {
    CDbFile file;
    if (Open(file, path, kModeMissing) < 0) abort();
  };
  EXPECT_GT(StepThrough(Step::kSystemCall, create, [&](bool done) { witness.Look(done); }), 20);
  EXPECT_GT(witness.leftovers(), 5) << "stops between the first and the last step of creation";
}

TEST_F(RecordFileStep, ReplacementMayBeKilledAtAnySystemCall) {
  const std::string path = MakeJournal(disk_, 2);
  CreationWitness witness(disk_, path, Numbers{1, 2});
  const auto create = [&] {
    CDbFile file;
    if (Open(file, path, kModeAnew) < 0) abort();
  };
  EXPECT_GT(StepThrough(Step::kSystemCall, create, [&](bool done) { witness.Look(done); }), 20);
  EXPECT_GT(witness.leftovers(), 5) << "stops between the first and the last step of creation";
}

}  // namespace
}  // namespace packetdb::host
