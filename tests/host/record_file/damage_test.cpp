// Files that are not what a writer left: never a crash, never a wrong record, never "another
// format" for something that is not sound.
#include <algorithm>
#include <functional>
#include <gmock/gmock.h>

#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

class RecordFileDamage : public testing::Test {
 protected:
  // What all three ways to ask say about a file with these bytes: its own format for reading and
  // for writing, and another format.
  void ExpectRefused(const Bytes& bytes, int result) {
    WriteBytes(path_, bytes);
    EXPECT_EQ(Open(file_, path_, kModeRead), result);
    EXPECT_EQ(Open(file_, path_, kModeMissing), result);
    EXPECT_EQ(file_.Init(path_, "Another", 8, 3, kModeRead), result) << "asked for another format";
    EXPECT_EQ(ReadBytes(path_), bytes) << "and nothing is written";
  }

  // The sound file with one number of its header changed under a good checksum.
  void ExpectHeaderRefused(const std::function<void(HeaderPage*)>& change, int result) {
    Bytes bytes = sound_;
    HeaderPage header = HeaderOf(bytes);
    change(&header);
    PutSoundHeader(header, &bytes);
    ExpectRefused(bytes, result);
  }

  void ExpectStateRefused(std::uint64_t next, std::uint64_t redo) {
    Bytes bytes = sound_;
    StateWords state = StateOf(bytes);
    state.next = next;
    state.redo = redo;
    PutState(state, &bytes);
    ExpectRefused(bytes, kDamagedState);
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
  for (std::size_t length = 1; length < sound_.size(); ++length) {
    SCOPED_TRACE(length);
    const int result = length < kSignature.size() ? kNotARecordFile : kTruncatedFile;
    ExpectRefused({sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(length)}, result);
    if (HasFailure()) break;
  }
}

TEST_F(RecordFileDamage, RefusesAFileThatIsTooLong) {
  Bytes bytes = sound_;
  bytes.push_back('\0');
  ExpectRefused(bytes, kOverlongFile);
}

TEST_F(RecordFileDamage, RefusesEveryDamagedByteOfTheHeader) {
  for (std::size_t i = 0; i < kPageSize; ++i) {
    SCOPED_TRACE(i);
    Bytes bytes = sound_;
    bytes[i] = static_cast<char>(bytes[i] ^ (1 << (i % 8)));
    ExpectRefused(bytes, i < kSignature.size() ? kNotARecordFile : kDamagedHeader);
    if (HasFailure()) break;
  }
}

TEST_F(RecordFileDamage, TellsAnotherByteOrderFromDamage) {
  ExpectHeaderRefused([](HeaderPage* header) { header->byte_order_mark = kSwappedByteOrderMark; },
                      kOtherByteOrder);
}

TEST_F(RecordFileDamage, RefusesALayoutThatItDoesNotKnow) {
  for (const std::uint32_t version : {0U, kLayoutVersion + 1, 0xFFFFFFFFU}) {
    ExpectHeaderRefused([&](HeaderPage* header) { header->layout_version = version; },
                        kUnsupportedLayout);
  }
  ExpectHeaderRefused([](HeaderPage* header) { header->flags = 1; }, kUnsupportedLayout);
}

TEST_F(RecordFileDamage, RefusesAbsurdNumbersUnderAGoodChecksum) {
  using Change = std::function<void(HeaderPage*)>;
  const std::vector<Change> changes = {
      [](HeaderPage* h) { h->byte_order_mark = 0; },
      [](HeaderPage* h) { h->header_length = 8192; },
      [](HeaderPage* h) { h->record_size = 0; },
      [](HeaderPage* h) { h->record_size = 0xFFFFFFFF; },
      [](HeaderPage* h) { h->record_size = 73; },
      [](HeaderPage* h) { h->record_size = h->slot_size = 0; },
      [](HeaderPage* h) { h->record_size = h->slot_size = 0xFFFFFFF8; },
      [](HeaderPage* h) { h->slot_size = 0; },
      [](HeaderPage* h) { h->slot_size = 80; },
      [](HeaderPage* h) { h->capacity = ~std::uint64_t{0}; },
      [](HeaderPage* h) { h->slot_count = (h->capacity = kMaxRecords + 1) + 1; },
      [](HeaderPage* h) { h->capacity = 0; },
      [](HeaderPage* h) { h->capacity = 4; },
      [](HeaderPage* h) { h->slot_count = 0; },
      [](HeaderPage* h) { h->slot_count = 3; },
      [](HeaderPage* h) { h->slot_count = ~std::uint64_t{0}; },
      [](HeaderPage* h) { h->slots_offset = 0; },
      [](HeaderPage* h) { h->slots_offset = ~std::uint64_t{0} - 7; },
      [](HeaderPage* h) { h->first_sequence = ~std::uint64_t{0}; },
      [](HeaderPage* h) { h->magic.fill('x'); },
      [](HeaderPage* h) { h->magic.back() = 'x'; },
  };
  for (std::size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(i);
    ExpectHeaderRefused(changes[i], kAbsurdHeader);
  }
}

TEST_F(RecordFileDamage, RefusesACapacityThatTheFileHasNoRoomFor) {
  for (const std::uint64_t capacity : {std::uint64_t{4}, kMaxRecords}) {
    ExpectHeaderRefused(
        [&](HeaderPage* header) {
          header->capacity = capacity;
          header->slot_count = capacity + kSpareSlots;
        },
        kTruncatedFile);
  }
}

TEST_F(RecordFileDamage, RefusesACommitWordOutOfRange) {
  ExpectStateRefused(kMaxSequence, kNoRedo);
  ExpectStateRefused(~std::uint64_t{0}, kNoRedo);
}

TEST_F(RecordFileDamage, RefusesACommitWordBeforeTheFirstRecord) {
  Bytes bytes = sound_;
  HeaderPage header = HeaderOf(bytes);
  header.first_sequence = 3;
  PutSoundHeader(header, &bytes);
  ExpectRefused(bytes, kDamagedState);
}

TEST_F(RecordFileDamage, RefusesARedoOfARecordThatIsNotThere) {
  ExpectStateRefused(2, 3);
  ExpectStateRefused(2, ~std::uint64_t{0});
  ExpectStateRefused(100, 97);
  ExpectStateRefused(100, 1);
}

TEST_F(RecordFileDamage, RefusesMoreRecordsThanAnUnboundedFileHasRoomFor) {
  path_ = MakeJournal(disk_, 2, kNoBound);
  sound_ = ReadBytes(path_);
  const std::uint64_t slots = (sound_.size() - SlotsOffset(72)) / 72;
  ExpectStateRefused(slots + 1, kNoRedo);
}

TEST_F(RecordFileDamage, AnyCommitWordInRangeIsServedWithinTheFile) {
  Bytes bytes = sound_;
  StateWords state = StateOf(bytes);
  state.next = kMaxSequence - 1;
  PutState(state, &bytes);
  WriteBytes(path_, bytes);
  ASSERT_EQ(Open(file_, path_, kModeRead), kRecordFileOk);
  EXPECT_EQ(file_.RecordCount(), 3);
  Bytes records(3 * kTestRecordSize);
  EXPECT_EQ(file_.ReadRecords(0, records.data(), 3), 3);
}

TEST_F(RecordFileDamage, CreateAnewReplacesGarbage) {
  WriteBytes(path_, Bytes(100, 'x'));
  ASSERT_EQ(Open(file_, path_, kModeAnew), kRecordFileOk);
  EXPECT_EQ(file_.RecordCount(), 0);
}

TEST_F(RecordFileDamage, AnArmedRedoIsReplayed) {
  Bytes bytes = sound_;
  StateWords state = StateOf(bytes);
  state.redo = 1 + 1;  // the second record
  PutState(state, &bytes);
  const TestRecord redone = MakeTestRecord(200);
  std::copy_n(reinterpret_cast<const char*>(redone.data()), kTestRecordSize,
              bytes.begin() + kRedoRecordOffset);
  WriteBytes(path_, bytes);
  ASSERT_EQ(Open(file_, path_, kModeRead), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 200));
  EXPECT_EQ(ReadBytes(path_), bytes) << "a reader replays for itself only";
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(1, 200));
  file_.Done();
  EXPECT_EQ(StateOf(ReadBytes(path_)).redo, kNoRedo) << "a writer for good";
  EXPECT_THAT(Reopen(path_).values, ElementsAre(1, 200));
}

}  // namespace
}  // namespace packetdb::host
