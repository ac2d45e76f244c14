// What a check finds in a file whose writer died, or whose machine stopped.
#include <algorithm>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>

#include "host/record_file/frame.h"
#include "host/record_file/inode_mark.h"
#include "host/record_file/inspect.h"
#include "host/record_file/open.h"
#include "tests/host/record_file/checked.h"
#include "tests/host/record_file/child.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t kStateAt = kStateOffset + offsetof(StatePage, state);

const Found kNotClosed = Note(kStateAt, kFindNotClosed);

class AbandonedCheck : public testing::Test {
 protected:
  // A file whose writer appended so many records and died; nothing was flushed since it was opened.
  void Abandon(std::uint64_t records, unsigned long capacity = 1000) {
    const int status = InChild([&] {
      auto* const file = new CDbFile;  // never closed
      if (Open(*file, path_, kModeAnew, capacity) < 0) return 1;
      for (std::uint64_t value = 1; value <= records; ++value) Append(*file, value);
      return 0;
    });
    ASSERT_EQ(status, 0);
    bytes_ = ReadBytes(path_);
    Change([](StatePage* state) { state->synced = 0; });
  }
  void Change(const std::function<void(StatePage*)>& change) {
    StatePage state = StateOf(bytes_);
    change(&state);
    PutState(state, &bytes_);
  }
  void FromOtherBoot() {
    Change([](StatePage* state) { state->boot_id[0] ^= 0xFFU; });
  }
  std::size_t At(std::uint64_t sequence) { return OffsetIn(path_, sequence); }
  void Tear(std::uint64_t sequence) {
    std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(At(sequence)), 9, 'x');
  }
  void Erase(std::uint64_t sequence) {
    std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(At(sequence)), 80, '\0');
  }
  // What a kill in the middle of an overwrite leaves: the frame in the redo sector.
  void PutRedo(std::uint64_t sequence, std::uint64_t value) {
    Descriptor file;
    FileFacts facts;
    ASSERT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
    ASSERT_EQ(Inspect(file, &facts), kRecordFileOk);
    FrameBuffer frame;
    SealFrame(facts.geometry, MakeTestRecord(value).data(), sequence, frame.data());
    std::memcpy(bytes_.data() + kRedoOffset, frame.data(), facts.geometry.frame_size);
  }
  std::vector<Found> Findings() {
    const Checked checked = CheckBytes(path_, bytes_);
    EXPECT_EQ(checked.result, kRecordFileOk);
    texts_ = checked.texts;
    return checked.found;
  }
  // What a check finds once a writer has opened and closed the file.
  std::vector<Found> FoundAfterRepair() {
    CDbFile file;
    EXPECT_EQ(Open(file, path_, kModeWrite, kNoBound), kRecordFileOk);
    file.Done();
    return FindingsIn(path_);
  }

  Disk disk_;
  std::string path_ = disk_.NewPath();
  Bytes bytes_;
  std::vector<std::string> texts_;
};

TEST_F(AbandonedCheck, IsNotedAndNoDamage) {
  for (const std::uint64_t records : {1U, 7U, 20000U}) {
    Abandon(records);
    EXPECT_THAT(Findings(), ElementsAre(kNotClosed)) << records;
    EXPECT_THAT(FoundAfterRepair(), IsEmpty()) << records;
  }
}

TEST_F(AbandonedCheck, WithoutABoundIsNotedAsWell) {
  Abandon(5, kNoBound);
  Tear(5);
  EXPECT_THAT(Findings(), ElementsAre(kNotClosed, Note(At(5), kFindAppendPending)));
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
}

TEST_F(AbandonedCheck, AHalfWrittenAppendIsNoDamageAndNotLeftByTheNextWriter) {
  Abandon(5);
  Tear(5);
  EXPECT_THAT(Findings(), ElementsAre(kNotClosed, Note(At(5), kFindAppendPending)));
  EXPECT_THAT(texts_[1], HasSubstr("1 record was being written"));
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
}

TEST_F(AbandonedCheck, AnInterruptedOverwriteIsNoDamage) {
  Abandon(5);
  Tear(2);
  PutRedo(2, 77);
  EXPECT_THAT(Findings(), ElementsAre(kNotClosed, Note(At(2), kFindRedoPending)));
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
}

TEST_F(AbandonedCheck, AnOverwriteThatDidNotGetToItsRecordIsNoDamage) {
  Abandon(5);
  std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(kRedoOffset), 9, 'x');
  EXPECT_THAT(Findings(), ElementsAre(kNotClosed, Note(kRedoOffset, kFindRedoPending)));
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
}

TEST_F(AbandonedCheck, DamageOfASlotThatNobodyWasAtIsDamage) {
  Abandon(5);
  Tear(7);
  WriteBytes(path_, bytes_);
  // The machine has not been down.
  MarkInode(OpenDescriptor(path_, O_RDONLY).get(), InodeMark::kOpen);
  EXPECT_THAT(FindingsIn(path_), ElementsAre(kNotClosed, Damage(At(7), kFindUnusedSlot)));
}

TEST_F(AbandonedCheck, RecordsThatWereNotFlushedCanBeLostInAPowerCut) {
  Abandon(10);
  FromOtherBoot();
  Tear(3);
  Erase(5);
  Erase(9);
  EXPECT_THAT(Findings(), ElementsAre(kNotClosed, Warning(At(3), kFindLost)));
  EXPECT_EQ(texts_[1],
            "3 records from number 3 on are missing: not flushed to the disk before the machine "
            "stopped");
  EXPECT_THAT(FoundAfterRepair(), ElementsAre(Warning(At(3), kFindLost)))
      << "the number of the last is given anew";
}

TEST_F(AbandonedCheck, TheNewestRecordAloneCanBeLostAsWell) {
  Abandon(10);
  FromOtherBoot();
  Erase(9);
  EXPECT_THAT(Findings(), ElementsAre(kNotClosed, Warning(At(9), kFindLost)));
  EXPECT_EQ(texts_[1], "record 9 is missing: not flushed to the disk before the machine stopped");
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
}

TEST_F(AbandonedCheck, RecordsThatWereFlushedAreDamageWhenTheyAreMissing) {
  Abandon(10);
  FromOtherBoot();
  Change([](StatePage* state) { state->synced = 9; });
  Tear(2);
  Erase(4);
  Erase(8);
  Erase(9);
  EXPECT_THAT(Findings(),
              ElementsAre(kNotClosed, Damage(At(2), kFindFrame), Damage(At(4), kFindFrame),
                          Damage(At(8), kFindFrame), Warning(At(9), kFindLost)));
  EXPECT_THAT(texts_[1], HasSubstr("its checksum does not go with it"));
  EXPECT_THAT(texts_[2], HasSubstr("which had been flushed"));
}

TEST_F(AbandonedCheck, WhatWasBeingAppendedInAPowerCutIsNoDamageAndNotLeft) {
  Abandon(10);
  FromOtherBoot();
  Tear(10);
  Tear(300);
  EXPECT_THAT(Findings(), ElementsAre(kNotClosed, Note(At(10), kFindAppendPending)));
  EXPECT_THAT(texts_[1], HasSubstr("2 records were being written"));
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
}

TEST_F(AbandonedCheck, AfterAFailedFlushIsAWarning) {
  Abandon(10);
  Change([](StatePage* state) {
    state->state = kFailed;
    state->synced = 4;
  });
  EXPECT_THAT(Findings(), ElementsAre(Warning(kStateAt, kFindFlushFailed)));
  EXPECT_THAT(texts_[0], HasSubstr("from number 4 on may be lost when the machine stops"));
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
}

TEST_F(AbandonedCheck, AClosedFileSaysHowManyRecordsAPowerCutTook) {
  Abandon(10);
  FromOtherBoot();
  Erase(3);
  WriteBytes(path_, bytes_);
  EXPECT_THAT(FoundAfterRepair(), ElementsAre(Warning(At(3), kFindLost)));
  bytes_ = ReadBytes(path_);
  Erase(4);
  EXPECT_THAT(Findings(), ElementsAre(Damage(At(3), kFindFrame)));
  EXPECT_EQ(texts_[0], "2 records from number 3 on are missing; the state page knows of 1");
}

TEST_F(AbandonedCheck, DamagedRecordsOfAClosedFileAreToldOneByOne) {
  Abandon(10);
  WriteBytes(path_, bytes_);
  EXPECT_THAT(FoundAfterRepair(), IsEmpty());
  bytes_ = ReadBytes(path_);
  Tear(3);
  Tear(4);
  Tear(20);
  Tear(21);
  Tear(40);
  EXPECT_THAT(Findings(),
              ElementsAre(Damage(At(3), kFindFrame), Damage(At(4), kFindFrame),
                          Damage(At(20), kFindUnusedSlot), Damage(At(40), kFindUnusedSlot)));
  EXPECT_EQ(texts_[0], "record 3 is damaged: its checksum does not go with it");
  EXPECT_EQ(texts_[2], "2 slots that have no record to hold now are damaged");
  EXPECT_EQ(texts_[3], "a slot that has no record to hold now is damaged");
}

}  // namespace
}  // namespace packetdb::host
