// Files whose front is not what a writer left: never a crash, never "another format" for something
// that is not sound, and nothing lost while one superblock is whole.
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

class RecordFileDamage : public testing::Test {
 protected:
  // What all ways to ask say about the file as it is: its own format for reading and for writing,
  // and another format.
  void ExpectRefusedAsIs(int result) {
    EXPECT_EQ(Open(file_, path_, kModeRead), result);
    EXPECT_EQ(Open(file_, path_, kModeMissing), result);
    EXPECT_EQ(file_.Init(path_, "Another", 8, 3, kModeRead), result) << "asked for another format";
  }

  void ExpectRefused(const Bytes& bytes, int result) {
    WriteBytes(path_, bytes);
    ExpectRefusedAsIs(result);
    EXPECT_EQ(ReadBytes(path_), bytes) << "and nothing is written";
  }

  // The sound file with one number of both superblocks changed under a good checksum.
  void ExpectSuperblockRefused(const std::function<void(Superblock*)>& change, int result) {
    Bytes bytes = sound_;
    Superblock block = SuperblockOf(bytes);
    change(&block);
    PutSoundSuperblock(block, &bytes);
    ExpectRefused(bytes, result);
  }

  // The sound file with one bit changed at each of these offsets.
  Bytes Damaged(std::initializer_list<std::size_t> offsets) const {
    Bytes bytes = sound_;
    for (const std::size_t i : offsets) bytes[i] = static_cast<char>(bytes[i] ^ (1 << (i % 8)));
    return bytes;
  }

  Disk disk_;
  CDbFile file_;
  std::string path_ = MakeJournal(disk_, 2);
  Bytes sound_ = ReadBytes(path_);
};

TEST_F(RecordFileDamage, RefusesAnEmptyFile) { ExpectRefused({}, kEmptyFile); }

TEST_F(RecordFileDamage, RefusesGarbage) {
  ExpectRefused(Bytes(1, '\x89'), kNotARecordFile);
  ExpectRefused(Bytes(100, 'x'), kNotARecordFile);
  ExpectRefused(Bytes(sound_.size(), '\0'), kNotARecordFile);
}

TEST_F(RecordFileDamage, RefusesEveryTruncation) {
  constexpr std::size_t kStride = 61;  // coprime to every size in the layout
  for (std::size_t length = sound_.size() - 1; length > 0;) {
    SCOPED_TRACE(length);
    std::filesystem::resize_file(path_, length);
    ExpectRefusedAsIs(length < kSignature.size() ? kNotARecordFile : kTruncatedFile);
    if (HasFailure()) break;
    length -= length > 3 * kPageSize ? std::min(kStride, length - 3 * kPageSize) : 1;
  }
}

TEST_F(RecordFileDamage, RefusesAFileThatIsTooLong) {
  Bytes bytes = sound_;
  bytes.push_back('\0');
  ExpectRefused(bytes, kOverlongFile);
}

TEST_F(RecordFileDamage, NothingIsLostWhileOneSuperblockIsWhole) {
  for (const std::size_t page : {std::size_t{0}, std::size_t{kPageSize}}) {
    for (std::size_t i = 0; i < kPageSize; i += 13) {
      WriteBytes(path_, Damaged({page + i}));
      ASSERT_EQ(Open(file_, path_, kModeRead), kRecordFileOk) << page + i;
      ASSERT_THAT(Values(file_), ElementsAre(1, 2)) << page + i;
    }
  }
}

TEST_F(RecordFileDamage, AWriterMakesADamagedSuperblockAnew) {
  for (const std::size_t at : {std::size_t{100}, kPageSize + std::size_t{100}}) {
    WriteBytes(path_, Damaged({at}));
    ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
    file_.Done();
    EXPECT_EQ(ReadBytes(path_), sound_) << "and changes nothing else";
  }
}

TEST_F(RecordFileDamage, RefusesEveryFileWithTwoDamagedSuperblocks) {
  for (std::size_t i = 0; i < kPageSize; i += 13) {
    SCOPED_TRACE(i);
    const bool no_signature = i < kSignature.size();
    ExpectRefused(Damaged({i, kPageSize + i}), no_signature ? kNotARecordFile : kDamagedHeader);
    if (HasFailure()) break;
  }
}

TEST_F(RecordFileDamage, OneSignatureIsEnoughToCallItDamaged) {
  ExpectRefused(Damaged({0, kPageSize + 100}), kDamagedHeader);
  ExpectRefused(Damaged({100, kPageSize}), kDamagedHeader);
}

TEST_F(RecordFileDamage, TellsAnotherByteOrderFromDamage) {
  ExpectSuperblockRefused([](Superblock* block) { block->byte_order_mark = kSwappedByteOrderMark; },
                          kOtherByteOrder);
}

TEST_F(RecordFileDamage, RefusesALayoutThatItDoesNotKnow) {
  ExpectSuperblockRefused([](Superblock* block) { ++block->layout_version; }, kUnsupportedLayout);
  ExpectSuperblockRefused([](Superblock* block) { block->flags = 1; }, kUnsupportedLayout);
}

TEST_F(RecordFileDamage, RefusesAbsurdNumbersUnderAGoodChecksum) {
  ExpectSuperblockRefused([](Superblock* block) { block->capacity = 100'000; }, kAbsurdHeader);
  ExpectSuperblockRefused([](Superblock* block) { block->record_size = 0; }, kAbsurdHeader);
}

TEST_F(RecordFileDamage, ANonsensicalCommitWordCostsNothing) {
  for (const std::uint64_t next : {kMaxSequence, ~std::uint64_t{0}, kMaxSequence - 1}) {
    Bytes bytes = sound_;
    StatePage state = StateOf(bytes);
    state.next = next;
    PutState(state, &bytes);
    WriteBytes(path_, bytes);
    EXPECT_THAT(Reopen(path_).values, ElementsAre(1, 2));
  }
}

TEST_F(RecordFileDamage, DamageAnywhereInTheStateCostsNothing) {
  constexpr std::size_t kFieldsEnd = offsetof(StatePage, reserved_sector);
  for (std::size_t i = 0; i < kPageSize; i += i < kFieldsEnd ? 8 : 497) {
    WriteBytes(path_, Damaged({kStateOffset + i}));
    ASSERT_THAT(Reopen(path_).values, ElementsAre(1, 2)) << i;
  }
}

// What stands in unused places of the page is not believed, and would be taken for damage later.
TEST_F(RecordFileDamage, AWriterClearsWhatNobodyUses) {
  for (const std::size_t field :
       {offsetof(StatePage, writer_padding), offsetof(StatePage, sync_padding),
        offsetof(StatePage, reserved_word), offsetof(StatePage, reserved_sector),
        offsetof(StatePage, redo), offsetof(StatePage, reserved)}) {
    WriteBytes(path_, Damaged({kStateOffset + field}));
    ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
    file_.Done();
    EXPECT_EQ(ReadBytes(path_)[kStateOffset + field], '\0') << field;
  }
}

TEST_F(RecordFileDamage, CreateAnewReplacesGarbage) {
  WriteBytes(path_, Bytes(100, 'x'));
  ASSERT_EQ(Open(file_, path_, kModeAnew), kRecordFileOk);
  EXPECT_EQ(file_.RecordCount(), 0);
}

}  // namespace
}  // namespace packetdb::host
