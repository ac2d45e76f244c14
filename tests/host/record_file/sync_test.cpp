// When a file is flushed, what is noted about it, and what a flush that fails means.
#include "host/record_file/sync.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <future>
#include <gmock/gmock.h>
#include <memory>

#include "host/record_file/descriptor.h"
#include "host/record_file/inode_mark.h"
#include "host/record_file/settings.h"
#include "tests/host/record_file/calls.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/system_log.h"

namespace packetdb::host {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::chrono::hours kNever{1};

class RecordFileSync : public testing::Test {
 protected:
  RecordFileSync() {
    TakeLogged();
    SetPolicy({.mode = SyncMode::kPeriodic, .interval = kNever, .bytes = 1U << 30U});
  }
  ~RecordFileSync() override {
    file_.Done();
    SetRecordFileSettings({});
  }

  static void SetPolicy(const SyncPolicy& policy) {
    RecordFileSettings settings;
    settings.sync = policy;
    SetRecordFileSettings(settings);
  }

  // Counts flushes, and lets them fail from the `failing`-th on.
  Hook Flushes(int failing = 1'000'000'000) {
    return [this, failing](const Made& made) -> std::optional<Instead> {
      if (made.call != Call::kFdatasync) return std::nullopt;
      const int number = ++flushes_;
      flushes_.notify_all();
      if (number < failing) return std::nullopt;
      return Instead{-1, EIO};
    };
  }

  // Until that many flushes have begun.
  void WaitForFlushes(int count) {
    for (int seen = flushes_; seen < count; seen = flushes_) flushes_.wait(seen);
  }
  // Until the state page says that so many records are on the disk.
  void WaitForSynced(std::uint64_t count) {
    while (State().synced < count) std::this_thread::yield();
  }

  StatePage State() const { return StateOf(ReadBytes(path_)); }

  // That had appended two records.
  void KillAWriter() {
    ASSERT_EQ(InChild([this] {
                CDbFile* const writer = new CDbFile;  // never closed
                const bool opened = Open(*writer, path_, kModeWrite) == kRecordFileOk;
                return opened && Append(*writer, 1) == 0 && Append(*writer, 2) == 1 ? 0 : 1;
              }),
              0);
    ASSERT_EQ(State().state, kOpen);
  }

  Disk disk_;
  CDbFile file_;
  std::string path_ = MakeJournal(disk_, 0);
  std::atomic<int> flushes_ = 0;
};

TEST_F(RecordFileSync, TheFirstChangeFlushesTheMarkAndNoOtherFlushes) {
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  EXPECT_EQ(flushes_, 0) << "nothing was changed";
  ASSERT_EQ(Append(file_, 1), 0);
  EXPECT_EQ(flushes_, 1) << "the page says open, on the disk, before anything else changes there";
  for (std::uint64_t value = 2; value < 100; ++value) Append(file_, value);
  Overwrite(file_, 97, 1);
  EXPECT_EQ(flushes_, 1);
}

TEST_F(RecordFileSync, DoneFlushesTheRecordsAndThenThatTheFileIsClosed) {
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  Append(file_, 1);
  file_.Done();
  EXPECT_EQ(flushes_, 3);
  EXPECT_EQ(State().synced, 1U);
  file_.Done();
  EXPECT_EQ(flushes_, 3);
  EXPECT_THAT(TakeLogged(), IsEmpty());
}

// A flush may take longer than everything else that recovery does.
TEST_F(RecordFileSync, AWriterAfterOneThatWasKilledDoesNotWaitForAFlush) {
  KillAWriter();
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_EQ(Append(file_, 3), 2);
  EXPECT_EQ(flushes_, 0) << "the disk knows since the first writer that the file is open";
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 3));
}

TEST_F(RecordFileSync, AWriterAfterOneThatWasKilledBeforeItsMarkWasFlushedFlushesIt) {
  KillAWriter();
  MarkInode(OpenDescriptor(path_, O_RDONLY).get(), InodeMark::kOpen);
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  EXPECT_GE(flushes_, 1);
  EXPECT_EQ(MarkOf(OpenDescriptor(path_, O_RDONLY).get()), InodeMark::kOpenOnDisk);
}

TEST_F(RecordFileSync, TheMarkOfAnEarlierWriterSaysNothingAboutTheNext) {
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_EQ(Append(file_, 1), 0);
  file_.Done();
  ASSERT_EQ(MarkOf(OpenDescriptor(path_, O_RDONLY).get()), InodeMark::kOpenOnDisk);
  InodeMark while_flushing = InodeMark::kNone;
  const Interposition look(BeforeNth(Call::kFdatasync, 1, [&] {
    while_flushing = MarkOf(OpenDescriptor(path_, O_RDONLY).get());
  }));
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_EQ(Append(file_, 2), 1);
  EXPECT_EQ(while_flushing, InodeMark::kOpen) << "killed there, it is not known to the disk";
}

TEST_F(RecordFileSync, AMarkThatCouldNotBeFlushedIsNotOnTheDisk) {
  const Interposition flushes(Flushes(1));
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_EQ(Append(file_, 1), 0);
  EXPECT_EQ(MarkOf(OpenDescriptor(path_, O_RDONLY).get()), InodeMark::kOpen);
}

TEST_F(RecordFileSync, WhoChangesNothingFlushesNothing) {
  const Interposition flushes(Flushes());
  for (const int mode : {kModeRead, kModeWrite}) {
    ASSERT_EQ(Open(file_, path_, mode), kRecordFileOk);
    file_.Done();
  }
  EXPECT_EQ(flushes_, 0);
}

TEST_F(RecordFileSync, FlushesAgainAfterTheInterval) {
  SetPolicy({.mode = SyncMode::kPeriodic, .interval = std::chrono::milliseconds(1)});
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  for (std::uint64_t value = 1; value <= 3; ++value) {
    ASSERT_GE(Append(file_, value), 0);
    WaitForSynced(value);
  }
  ASSERT_EQ(Overwrite(file_, 0, 10), kRecordFileOk);
  while (State().merges_synced < 1) std::this_thread::yield();
}

// By calls, a look at the state page can be counted. It says that something was not flushed, as one
// does whose words could not be stored: the file was closed all the same.
TEST_F(RecordFileSync, FlushesNothingWhenNothingIsNew) {
  Bytes bytes = ReadBytes(path_);
  StatePage state = StateOf(bytes);
  ++state.merges;
  PutSoundState(state, &bytes);
  WriteBytes(path_, bytes);
  RecordFileSettings settings;
  settings.sync.interval = std::chrono::milliseconds(1);
  settings.by_calls = true;
  SetRecordFileSettings(settings);
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  std::atomic<int> looks = 0;
  const Interposition counting(Both(Flushes(), [&](const Made& made) -> std::optional<Instead> {
    if (made.call == Call::kPread) {
      ++looks;
      looks.notify_all();
    }
    return std::nullopt;
  }));
  for (int seen = looks; seen < 20; seen = looks) looks.wait(seen);
  EXPECT_EQ(flushes_, 0);
  EXPECT_TRUE(ReadBytes(path_) == bytes) << "the file is as it was";
}

TEST_F(RecordFileSync, FlushesAfterAnAmountWithoutWaitingForTheInterval) {
  SetPolicy({.mode = SyncMode::kPeriodic, .interval = kNever, .bytes = 10 * 80});
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  for (std::uint64_t value = 1; value <= 10; ++value) ASSERT_GE(Append(file_, value), 0);
  WaitForSynced(10);
  EXPECT_EQ(flushes_, 2);
}

TEST_F(RecordFileSync, AnAmountSmallerThanAFrameIsOne) {
  SetPolicy({.mode = SyncMode::kPeriodic, .interval = kNever, .bytes = 1});
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_GE(Append(file_, 1), 0);
  WaitForSynced(1);
}

TEST_F(RecordFileSync, EachChangeCanBeFlushed) {
  SetPolicy({.mode = SyncMode::kEach});
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  Append(file_, 1);
  EXPECT_EQ(State().synced, 1U);
  Append(file_, 2);
  EXPECT_EQ(State().synced, 2U);
  Overwrite(file_, 0, 10);
  EXPECT_EQ(State().merges_synced, 1U);
  EXPECT_EQ(flushes_, 4) << "the mark, and three changes";
}

TEST_F(RecordFileSync, NoChangeNeedBeFlushedBeforeTheEnd) {
  SetPolicy({.mode = SyncMode::kNever, .interval = std::chrono::milliseconds(1), .bytes = 1});
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  for (std::uint64_t value = 1; value <= 50; ++value) Append(file_, value);
  EXPECT_EQ(flushes_, 1);
  EXPECT_EQ(State().synced, 0U);
  file_.Done();
  EXPECT_EQ(State().synced, 50U);
}

TEST_F(RecordFileSync, NotesOnlyWhatWasThereBeforeTheFlush) {
  SetPolicy({.mode = SyncMode::kPeriodic, .interval = kNever, .bytes = 10 * 80});
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  std::promise<void> more;
  const std::shared_future<void> more_are_there = more.get_future().share();
  const Interposition flushes(
      Both(Flushes(), BeforeNth(Call::kFdatasync, 2, [=] { more_are_there.wait(); })));
  for (std::uint64_t value = 1; value <= 10; ++value) ASSERT_GE(Append(file_, value), 0);
  WaitForFlushes(2);
  for (std::uint64_t value = 11; value <= 13; ++value) ASSERT_GE(Append(file_, value), 0);
  more.set_value();
  WaitForSynced(1);
  EXPECT_EQ(State().synced, 10U);
}

TEST_F(RecordFileSync, AFlushThatIsInterruptedIsRepeated) {
  const Interposition interrupted(Both(Flushes(), [this](const Made& made) {
    const bool is_first = made.call == Call::kFdatasync && flushes_ == 1;
    return is_first ? std::optional(Instead{-1, EINTR}) : std::nullopt;
  }));
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_GE(Append(file_, 1), 0);
  EXPECT_EQ(flushes_, 2);
  EXPECT_EQ(State().state, kOpen);
  EXPECT_THAT(TakeLogged(), IsEmpty());
}

class FailedFlush : public RecordFileSync {
 protected:
  // Ten records, whose flush by the thread fails.
  void FailToFlush() {
    SetPolicy({.mode = SyncMode::kPeriodic, .interval = kNever, .bytes = 10 * 80});
    ASSERT_EQ(Open(file_, path_, kModeWrite, 100), kRecordFileOk);
    const Interposition failing(Flushes(2));
    for (std::uint64_t value = 1; value <= 10; ++value) ASSERT_GE(Append(file_, value), 0);
    while (State().state != kFailed) std::this_thread::yield();
    // The line is written behind the mark.
    while (logged_.empty()) logged_ = TakeLogged();
  }

  std::vector<std::string> logged_;
};

TEST_F(FailedFlush, IsNotedInTheFileAndLoggedOnce) {
  FailToFlush();
  EXPECT_THAT(logged_, ElementsAre(AllOf(StartsWith("3 " + path_ + ": records cannot be flushed"),
                                         HasSubstr("Input/output error"))));
  for (std::uint64_t value = 11; value <= 40; ++value) ASSERT_GE(Append(file_, value), 0);
  file_.Done();
  EXPECT_THAT(TakeLogged(), IsEmpty());
}

TEST_F(FailedFlush, IsTheLastOne) {
  FailToFlush();
  const std::uint64_t synced = State().synced;
  flushes_ = 0;
  const Interposition flushes(Flushes());
  for (std::uint64_t value = 11; value <= 40; ++value) ASSERT_GE(Append(file_, value), 0);
  file_.Done();
  EXPECT_EQ(flushes_, 0) << "a later success would mean nothing";
  EXPECT_EQ(State().synced, synced);
  EXPECT_EQ(State().state, kFailed) << "and so the file is not closed";
}

TEST_F(FailedFlush, LosesNothingOfALivingMachine) {
  FailToFlush();
  ASSERT_EQ(Append(file_, 11), 10);
  EXPECT_EQ(file_.RecordCount(), 11);
  file_.Done();
  CDbFile reader;
  ASSERT_EQ(Open(reader, path_, kModeRead, 100), kRecordFileOk);
  EXPECT_EQ(reader.RecordCount(), 11);
}

TEST_F(FailedFlush, IsOverWhenTheNextWriterHasStoredAllAgain) {
  FailToFlush();
  file_.Done();
  const Interposition flushes(Flushes());
  ASSERT_EQ(Open(file_, path_, kModeWrite, 100), kRecordFileOk);
  EXPECT_EQ(State().state, kOpen);
  EXPECT_EQ(State().synced, 10U);
  EXPECT_EQ(State().generation, 1U);
  ASSERT_GE(Append(file_, 11), 0);
  file_.Done();
  EXPECT_EQ(State().state, kClosed);
}

TEST_F(FailedFlush, WhenClosingLeavesTheFileOpen) {
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  Append(file_, 1);
  const Interposition failing(Flushes(1));
  file_.Done();
  EXPECT_EQ(State().state, kFailed);
  EXPECT_EQ(TakeLogged().size(), 1U);
}

TEST_F(FailedFlush, DoesNotKeepEachChangeFromBeingMade) {
  SetPolicy({.mode = SyncMode::kEach});
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  const Interposition failing(Flushes(1));
  for (std::uint64_t value = 1; value <= 3; ++value) ASSERT_GE(Append(file_, value), 0);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2, 3));
  EXPECT_EQ(TakeLogged().size(), 1U);
}

TEST(SyncerTest, NeedsNotKnowWhereTheFileHasItsPages) {
  Disk disk;
  OpenBytes open(MakeJournal(disk, 1), Way::kMapped);
  Syncer syncer;
  ASSERT_EQ(syncer.Attach(open.file, Way::kMapped, "a file"), kRecordFileOk);
  ASSERT_EQ(syncer.Start({}), kRecordFileOk);
  EXPECT_EQ(syncer.Flush(), kRecordFileOk);
}

TEST(SyncerTest, StopsWithoutHavingStarted) {
  Syncer syncer;
  syncer.Stop();
  EXPECT_FALSE(syncer.HasFailed());
}

}  // namespace
}  // namespace packetdb::host
