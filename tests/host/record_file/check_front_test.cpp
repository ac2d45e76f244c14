// What a check finds in the superblocks and in the state page of a file that is closed.
#include <algorithm>
#include <functional>
#include <gmock/gmock.h>

#include "tests/host/record_file/checked.h"

namespace packetdb::host {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class FrontCheck : public testing::Test {
 protected:
  std::vector<Found> FoundIn(const Bytes& bytes) {
    const Checked checked = CheckBytes(path_, bytes);
    EXPECT_EQ(checked.result, kRecordFileOk);
    texts_ = checked.texts;
    return checked.found;
  }
  std::vector<Found> FoundWithBlocks(const std::function<void(Superblock*)>& change) {
    Bytes bytes = sound_;
    Superblock block = SuperblockOf(bytes);
    change(&block);
    PutSoundSuperblock(block, &bytes);
    return FoundIn(bytes);
  }
  std::vector<Found> FoundWithState(const std::function<void(StatePage*)>& change) {
    Bytes bytes = sound_;
    StatePage state = StateOf(bytes);
    change(&state);
    PutSoundState(state, &bytes);
    return FoundIn(bytes);
  }
  void Use(const std::string& path) {
    path_ = path;
    sound_ = ReadBytes(path);
  }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 2);
  Bytes sound_ = ReadBytes(path_);
  std::vector<std::string> texts_;
};

TEST_F(FrontCheck, FindsADamagedSuperblockBesideAnIntactOne) {
  for (const std::size_t offset : {kSuperblockAOffset, kSuperblockBOffset}) {
    for (const std::size_t at : {3U, 64U, 4000U, 4095U}) {
      Bytes bytes = sound_;
      bytes[offset + at] = static_cast<char>(bytes[offset + at] + 1);
      EXPECT_THAT(FoundIn(bytes), ElementsAre(Damage(offset, kFindSuperblock)));
      EXPECT_THAT(texts_[0], testing::HasSubstr("makes it anew from the other one"));
    }
  }
}

TEST_F(FrontCheck, FindsTwoDamagedSuperblocksAndSaysWhatHelps) {
  Bytes bytes = sound_;
  bytes[64] = bytes[kPageSize + 64] = 'x';
  bytes[65] = bytes[kPageSize + 66] = 'x';
  EXPECT_THAT(FoundIn(bytes),
              ElementsAre(Damage(0, kFindSuperblock), Damage(kPageSize, kFindSuperblock)));
  EXPECT_EQ(texts_[0],
            "the first superblock is damaged: packetdb check --rescue builds a new file of the "
            "records");
}

TEST_F(FrontCheck, TheOneSuperblockOfATruncatedFileHasNoOtherToBeMadeFrom) {
  Bytes bytes(sound_.begin(), sound_.begin() + 5000);
  bytes[64] = static_cast<char>(bytes[64] + 1);
  EXPECT_THAT(FoundIn(bytes), ElementsAre(Damage(0, kFindSuperblock)));
}

TEST_F(FrontCheck, FindsTwoIntactSuperblocksThatDiffer) {
  Bytes bytes = ReadBytes(MakeJournal(disk_, 2));
  std::copy_n(bytes.begin() + kPageSize, kPageSize, sound_.begin() + kPageSize);
  EXPECT_THAT(FoundIn(sound_), ElementsAre(Damage(kPageSize, kFindSuperblock)));
}

TEST_F(FrontCheck, FindsEachAbsurdNumberWhereItIs) {
  struct Row {
    std::size_t position;
    std::function<void(Superblock*)> change;
  };
  const std::vector<Row> rows = {
      {12, [](Superblock* b) { b->byte_order_mark = 0; }},
      {16, [](Superblock* b) { b->header_length = 8192; }},
      {20, [](Superblock* b) { b->cell_size = 4096; }},
      {24, [](Superblock* b) { b->record_size = 0; }},
      {24, [](Superblock* b) { b->record_size = 505; }},
      {28, [](Superblock* b) { b->frame_size = 88; }},
      {28, [](Superblock* b) { b->record_size = 73; }},
      {32, [](Superblock* b) { b->frames_per_cell = 7; }},
      {40, [](Superblock* b) { b->capacity = kMaxRecords + 1; }},
      {48, [](Superblock* b) { b->capacity = 100000; }},
      {48, [](Superblock* b) { b->slot_count = ~std::uint64_t{0}; }},
      {48, [](Superblock* b) { b->capacity = 0; }},
      {56, [](Superblock* b) { b->file_length += 4096; }},
      {56, [](Superblock* b) { b->capacity = b->slot_count = 0; }},
      {88, [](Superblock* b) { b->first_sequence = kMaxSequence; }},
      {96 + 127, [](Superblock* b) { b->magic.fill('x'); }},
      {96 + 100, [](Superblock* b) { b->magic[100] = 'x'; }},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(FoundWithBlocks(row.change),
                ElementsAre(Damage(row.position, kFindNumber),
                            Damage(kPageSize + row.position, kFindNumber)));
  }
}

TEST_F(FrontCheck, FindsReservedBytesOfSuperblocksThatAreUsed) {
  EXPECT_THAT(
      FoundWithBlocks([](Superblock* b) { b->reserved[0] = b->reserved[3867] = 1; }),
      ElementsAre(Damage(224, kFindReserved), Damage(4091, kFindReserved),
                  Damage(kPageSize + 224, kFindReserved), Damage(kPageSize + 4091, kFindReserved)));
}

TEST_F(FrontCheck, TellsARunOfReservedBytesOnce) {
  FoundWithBlocks([](Superblock* b) {
    std::fill_n(b->reserved.begin() + 10, 500, 'x');
    b->reserved[300] = 0;
  });
  EXPECT_THAT(texts_, ElementsAre("reserved bytes of the first superblock are not 0 (500 bytes)",
                                  "reserved bytes of the second superblock are not 0 (500 bytes)"));
}

TEST_F(FrontCheck, FindsEachStateThatNoWriterLeaves) {
  struct Row {
    std::size_t position;
    std::function<void(StatePage*)> change;
  };
  const std::vector<Row> rows = {
      {64, [](StatePage* s) { s->synced = 3; }},
      {72, [](StatePage* s) { s->merges_synced = 1; }},
      {128, [](StatePage* s) { s->state = 0; }},
      {128, [](StatePage* s) { s->state = 9; }},
      {192, [](StatePage* s) { s->known_holes = 3; }},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(FoundWithState(row.change),
                ElementsAre(Damage(kStateOffset + row.position, kFindState)));
  }
}

TEST_F(FrontCheck, FindsMoreFlushedRecordsThanThereEverWere) {
  StartAt(path_ = MakeJournal(disk_, 0), 100);
  sound_ = ReadBytes(path_);
  EXPECT_THAT(FoundWithState([](StatePage* s) { s->synced = 99; }),
              ElementsAre(Damage(kSyncedOffset, kFindState)));
}

TEST_F(FrontCheck, FindsANumberOfTheNextRecordThatNoWriterLeaves) {
  for (const std::uint64_t next : {kMaxSequence, ~std::uint64_t{0}}) {
    EXPECT_THAT(FoundWithState([next](StatePage* s) { s->next = next; }),
                ElementsAre(Damage(kNextOffset, kFindState)));
  }
  Use(MakeJournal(disk_, 2, kNoBound));
  EXPECT_THAT(FoundWithState([](StatePage* s) { s->next = 1000000; }),
              ElementsAre(Damage(kNextOffset, kFindState)));
}

TEST_F(FrontCheck, OfATruncatedFileWithADamagedStateOnlyThatIsTold) {
  sound_.resize(sound_.size() - 4096);
  EXPECT_THAT(FoundWithState([](StatePage* s) { s->next = kMaxSequence; }),
              ElementsAre(Damage(sound_.size(), kFindLength), Damage(kNextOffset, kFindState),
                          Damage(kCellsOffset, kFindUnusedSlot)));
}

TEST_F(FrontCheck, AChecksumOfTheStateThatDoesNotGoWithItHidesNoOtherDamage) {
  Bytes bytes = sound_;
  bytes[kNextOffset] = '\x01';
  bytes[kCellsOffset + 80] = 'x';
  EXPECT_THAT(FoundIn(bytes), Contains(Damage(kStateOffset, kFindState)));
  EXPECT_THAT(FoundIn(bytes), testing::SizeIs(2));
}

// Only one bit is between closed and failed.
TEST_F(FrontCheck, FindsTheOneBitThatMakesAClosedFileLookFailed) {
  Bytes bytes = sound_;
  bytes[kStateOffset + 128] = 3;
  EXPECT_THAT(FoundIn(bytes), Contains(Damage(kStateOffset + 128, kFindState)));
  EXPECT_THAT(texts_[0], testing::HasSubstr("the rest says that it is"));
}

TEST_F(FrontCheck, FindsPaddingOfTheStateThatIsUsed) {
  EXPECT_THAT(
      FoundWithState([](StatePage* s) {
        s->writer_padding[0] = s->sync_padding[47] = 1;
        s->reserved_word = 1;
        s->reserved_sector[311] = 1;
        s->redo[80] = 1;
        s->reserved[3067] = 1;
      }),
      ElementsAre(Damage(kStateOffset + 16, kFindPadding), Damage(kStateOffset + 127, kFindPadding),
                  Damage(kStateOffset + 511, kFindPadding),
                  Damage(kStateOffset + 592, kFindPadding),
                  Damage(kStateOffset + 4091, kFindPadding)));
}

TEST_F(FrontCheck, FindsARedoSectorThatHoldsNoFrame) {
  EXPECT_THAT(FoundWithState([](StatePage* s) { s->redo[5] = 1; }),
              ElementsAre(Damage(kRedoOffset, kFindRedo)));
}

TEST_F(FrontCheck, ARecordThatOnlyTheRedoSectorHoldsIsDamagedInItsSlot) {
  CDbFile file;
  ASSERT_EQ(Open(file, path_, kModeWrite), kRecordFileOk);
  Overwrite(file, 1, 7);
  file.Done();
  Bytes bytes = ReadBytes(path_);
  EXPECT_THAT(FoundIn(bytes), IsEmpty());
  bytes[kCellsOffset + 80] = 'x';
  EXPECT_THAT(FoundIn(bytes), ElementsAre(Damage(kCellsOffset + 80, kFindFrame)));
  EXPECT_THAT(texts_[0], testing::HasSubstr("a whole copy of it"));
}

}  // namespace
}  // namespace packetdb::host
