#include "host/record_file/check.h"

#include <algorithm>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <ostream>
#include <tuple>

#include "host/record_file/check_header.h"
#include "host/record_file/open.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {

// As the lists of findings that tests expect: position, severity and kind.
using Found = std::tuple<std::uint64_t, Severity, std::string>;

void PrintTo(const Found& found, std::ostream* out) {
  *out << "byte " << std::get<0>(found) << ", severity " << static_cast<int>(std::get<1>(found))
       << ", " << std::get<2>(found);
}

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

Found Damage(std::uint64_t position, std::string_view kind) {
  return {position, Severity::kDamage, std::string(kind)};
}
Found Warning(std::uint64_t position, std::string_view kind) {
  return {position, Severity::kWarning, std::string(kind)};
}

struct Checked {
  RecordFileResult result = kRecordFileOk;
  std::vector<Found> found;
};

FindingSink Collector(std::vector<Found>* found) {
  return [found](const Finding& finding) {
    EXPECT_NE(finding.text, "");
    EXPECT_EQ(finding.text.find('\n'), std::string::npos);
    found->emplace_back(finding.position, finding.severity, finding.kind);
  };
}

Checked Check(const std::string& path) {
  Checked checked;
  Descriptor file;
  checked.result = OpenUnlocked(path, Access::kRead, &file);
  if (checked.result == kRecordFileOk) {
    checked.result = CheckRecordFile(file, Collector(&checked.found));
  }
  return checked;
}

std::vector<std::string> TextsOf(const std::string& path) {
  std::vector<std::string> texts;
  Descriptor file;
  EXPECT_EQ(OpenUnlocked(path, Access::kRead, &file), kRecordFileOk);
  EXPECT_EQ(
      CheckRecordFile(file, [&texts](const Finding& finding) { texts.push_back(finding.text); }),
      kRecordFileOk);
  return texts;
}

// A file for three records that holds two: slot 2 is next, slot 3 was never used.
class RecordFileCheck : public testing::Test {
 protected:
  std::vector<Found> FoundIn(const Bytes& bytes) {
    WriteBytes(path_, bytes);
    const Checked checked = Check(path_);
    EXPECT_EQ(checked.result, kRecordFileOk);
    EXPECT_EQ(ReadBytes(path_), bytes) << "and nothing is written";
    return checked.found;
  }
  std::vector<Found> FoundWithByte(std::size_t position, char byte) {
    Bytes bytes = sound_;
    bytes[position] = byte;
    return FoundIn(bytes);
  }
  std::vector<Found> FoundWithHeader(const std::function<void(HeaderPage*)>& change) {
    Bytes bytes = sound_;
    HeaderPage header = HeaderOf(bytes);
    change(&header);
    PutSoundHeader(header, &bytes);
    return FoundIn(bytes);
  }
  std::vector<Found> FoundWithState(std::uint64_t next, std::uint64_t redo) {
    Bytes bytes = sound_;
    StateWords state = StateOf(bytes);
    state.next = next;
    state.redo = redo;
    PutState(state, &bytes);
    return FoundIn(bytes);
  }
  RecordFileResult ResultFor(const Bytes& bytes) {
    WriteBytes(path_, bytes);
    const Checked checked = Check(path_);
    EXPECT_THAT(checked.found, IsEmpty());
    return checked.result;
  }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 2);
  Bytes sound_ = ReadBytes(path_);
};

TEST_F(RecordFileCheck, FindsNothingInAFileThatAWriterLeft) {
  for (const std::uint64_t count : {0U, 1U, 2U, 3U, 4U, 9U}) {
    EXPECT_THAT(Check(MakeJournal(disk_, count)).found, IsEmpty()) << count;
    EXPECT_THAT(Check(MakeJournal(disk_, count, kNoBound)).found, IsEmpty()) << count;
  }
}

TEST_F(RecordFileCheck, FindsNothingWhereNumberingBeginsInTheMiddle) {
  for (std::uint64_t first = 1; first < 9; ++first) {
    const std::string path = MakeJournal(disk_, 0);
    StartAt(path, first);
    EXPECT_THAT(Check(path).found, IsEmpty()) << first;
    CDbFile file;
    ASSERT_EQ(Open(file, path, kModeWrite), kRecordFileOk);
    Append(file, 1);
    EXPECT_THAT(Check(path).found, IsEmpty()) << first;
  }
}

TEST_F(RecordFileCheck, FindsNothingInTheFileOfAWriterThatWasKilled) {
  for (const std::uint64_t records : {1U, 3U, 7U}) {
    const int status = InChild([&] {
      CDbFile file;
      if (Open(file, path_, kModeAnew) < 0) return 1;
      for (std::uint64_t value = 1; value <= records; ++value) Append(file, value);
      Overwrite(file, static_cast<int>(records - 1), 100);
      return 0;  // by _exit: nothing is closed
    });
    ASSERT_EQ(status, 0);
    EXPECT_THAT(Check(path_).found, IsEmpty()) << records;
  }
}

TEST_F(RecordFileCheck, AHalfWrittenAppendIsNoDamage) {
  Bytes bytes = sound_;
  std::fill_n(bytes.begin() + 8192 + 2 * 72, 50, 'x');
  EXPECT_THAT(FoundIn(bytes), IsEmpty());
}

TEST_F(RecordFileCheck, FindsEveryBitOfTheHeaderThatIsFlipped) {
  for (std::size_t bit = 0; bit < kPageSize * 8; ++bit) {
    Bytes bytes = sound_;
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << (bit % 8)));
    const HeaderPage header = HeaderOf(bytes);
    ASSERT_EQ(RecogniseHeader(header, kPageSize), kRecordFileOk) << "bit " << bit;
    std::vector<Found> found;
    Geometry geometry;
    CheckHeader(header, kPageSize, sound_.size(), Collector(&found), &geometry);
    const bool signature = bit / 8 < kSignature.size();
    ASSERT_THAT(found, Contains(signature ? Damage(bit / 8, kFindSignature)
                                          : Damage(kChecksumOffset, kFindChecksum)));
  }
}

TEST_F(RecordFileCheck, AHeaderThatLacksOnlyItsSignatureIsDamaged) {
  EXPECT_THAT(FoundWithByte(3, 'K'), ElementsAre(Damage(3, kFindSignature)));
}

TEST_F(RecordFileCheck, FindsTheChecksumThatDoesNotGoWithTheHeader) {
  EXPECT_THAT(FoundWithByte(64, 'x'), ElementsAre(Damage(kChecksumOffset, kFindChecksum)))
      << "the time of creation can be anything";
}

TEST_F(RecordFileCheck, FindsEachAbsurdNumberWhereItIs) {
  struct Row {
    std::size_t position;
    std::function<void(HeaderPage*)> change;
  };
  const std::vector<Row> rows = {
      {12, [](HeaderPage* h) { h->byte_order_mark = 0; }},
      {16, [](HeaderPage* h) { h->header_length = 8192; }},
      {20, [](HeaderPage* h) { h->record_size = 0; }},
      {20, [](HeaderPage* h) { h->record_size = 0xFFFFFFFF; }},
      {24, [](HeaderPage* h) { h->record_size = 73; }},
      {24, [](HeaderPage* h) { h->slot_size = 0; }},
      {32, [](HeaderPage* h) { h->capacity = ~std::uint64_t{0}; }},
      {32, [](HeaderPage* h) { h->slot_count = (h->capacity = kMaxRecords + 1) + 1; }},
      {40, [](HeaderPage* h) { h->capacity = 0; }},
      {40, [](HeaderPage* h) { h->slot_count = ~std::uint64_t{0}; }},
      {48, [](HeaderPage* h) { h->slots_offset = ~std::uint64_t{0} - 7; }},
      {56, [](HeaderPage* h) { h->first_sequence = ~std::uint64_t{0}; }},
      {72 + 127, [](HeaderPage* h) { h->magic.fill('x'); }},
      {72 + 100, [](HeaderPage* h) { h->magic[100] = 'x'; }},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(FoundWithHeader(row.change), Contains(Damage(row.position, kFindNumber)));
  }
}

TEST_F(RecordFileCheck, FindsReservedBytesThatAreUsed) {
  EXPECT_THAT(FoundWithHeader([](HeaderPage* h) { h->reserved[0] = h->reserved[3891] = 1; }),
              ElementsAre(Damage(200, kFindReserved), Damage(4091, kFindReserved)));
}

TEST_F(RecordFileCheck, TellsARunOfReservedBytesOnce) {
  EXPECT_THAT(FoundWithHeader([](HeaderPage* h) {
                std::fill_n(h->reserved.begin() + 10, 500, 'x');
                h->reserved[300] = 0;
              }),
              ElementsAre(Damage(210, kFindReserved)));
  EXPECT_THAT(TextsOf(path_), ElementsAre("reserved bytes of the header are not 0 (500 bytes)"));
}

TEST_F(RecordFileCheck, FindsWhereAFileEndsTooEarly) {
  for (std::size_t length = sound_.size() - 1; length >= kSignature.size(); --length) {
    std::filesystem::resize_file(path_, length);
    const Checked checked = Check(path_);
    ASSERT_EQ(checked.result, kRecordFileOk);
    ASSERT_THAT(checked.found, ElementsAre(Damage(length, kFindLength)));
  }
}

TEST_F(RecordFileCheck, FindsWhereAFileGoesOnTooLong) {
  Bytes bytes = sound_;
  bytes.resize(bytes.size() + 500);
  EXPECT_THAT(FoundIn(bytes), ElementsAre(Damage(sound_.size(), kFindLength)));
}

TEST_F(RecordFileCheck, FindsACommitWordThatNoWriterLeaves) {
  for (const std::uint64_t next : {kMaxSequence, ~std::uint64_t{0}}) {
    EXPECT_THAT(FoundWithState(next, kNoRedo), ElementsAre(Damage(4096, kFindCommitWord)));
  }
}

TEST_F(RecordFileCheck, FindsACommitWordBeyondTheSlotsOfAFileWithoutABound) {
  path_ = MakeJournal(disk_, 2, kNoBound);
  sound_ = ReadBytes(path_);
  EXPECT_THAT(FoundWithState(1000000, kNoRedo), ElementsAre(Damage(4096, kFindCommitWord)));
}

TEST_F(RecordFileCheck, ADamagedCommitWordHidesNoDamageOfTheState) {
  Bytes bytes = sound_;
  std::fill_n(bytes.begin() + 4096, 8, '\xff');
  bytes[4104] = bytes[4170] = bytes[4224 + 72] = 'x';
  EXPECT_THAT(FoundIn(bytes),
              ElementsAre(Damage(4096, kFindCommitWord), Damage(4104, kFindPadding),
                          Damage(4170, kFindPadding), Warning(4224 + 72, kFindPadding)));
}

TEST_F(RecordFileCheck, FindsARedoOfARecordThatIsNotThere) {
  for (const std::uint64_t redo : {std::uint64_t{3}, ~std::uint64_t{0}}) {
    EXPECT_THAT(FoundWithState(2, redo), ElementsAre(Damage(4160, kFindRedoWord)));
  }
}

TEST_F(RecordFileCheck, AnInterruptedOverwriteIsNotedAndNoDamage) {
  EXPECT_THAT(FoundWithState(2, 2), ElementsAre(Found{4160, Severity::kNote, kFindRedoPending}));
}

TEST_F(RecordFileCheck, AnOverwriteUnderWayIsNothing) {
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite), kRecordFileOk);
  const Descriptor file(open(path_.c_str(), O_WRONLY | O_CLOEXEC));
  const std::uint64_t redo = 2;
  ASSERT_EQ(pwrite(file.get(), &redo, sizeof redo, 4160), 8);
  EXPECT_THAT(Check(path_).found, IsEmpty());
}

TEST_F(RecordFileCheck, FindsEveryByteOfPaddingThatIsNotZero) {
  for (std::size_t position = 4104; position < 4224; ++position) {
    if (position >= 4160 && position < 4168) continue;  // the redo word
    ASSERT_THAT(FoundWithByte(position, 1), ElementsAre(Damage(position, kFindPadding)));
  }
}

TEST_F(RecordFileCheck, WarnsOfBytesBehindTheRedoRecord) {
  EXPECT_THAT(FoundWithByte(4224 + 72, 1), ElementsAre(Warning(4224 + 72, kFindPadding)));
  EXPECT_THAT(FoundWithByte(8191, 1), ElementsAre(Warning(8191, kFindPadding)));
}

TEST_F(RecordFileCheck, WarnsOfBytesBetweenARecordAndTheNextSlot) {
  CDbFile file;
  ASSERT_EQ(file.Init(path_, "Zolrak-Packet-Database", 60, 3, kModeAnew), kRecordFileOk);
  file.AppendRecord(Bytes(60, 'r').data());
  file.Done();
  sound_ = ReadBytes(path_);
  EXPECT_THAT(FoundIn(sound_), IsEmpty());
  EXPECT_THAT(FoundWithByte(8192 + 61, 1), ElementsAre(Warning(8192 + 61, kFindPadding)));
}

TEST_F(RecordFileCheck, TellsARunOfPaddingAmongTheSlotsOnce) {
  constexpr std::size_t kCount = 10000;  // more than one piece is read
  CDbFile file;
  ASSERT_EQ(file.Init(path_, "Zolrak-Packet-Database", 60, kCount, kModeAnew), kRecordFileOk);
  for (std::size_t i = 0; i < kCount; ++i) file.AppendRecord(Bytes(60, 'r').data());
  file.Done();
  Bytes bytes = ReadBytes(path_);
  for (const std::size_t slot : {5U, 6U, 7U, 9000U}) bytes[8192 + slot * 64 + 60] = 'x';
  EXPECT_THAT(FoundIn(bytes), ElementsAre(Warning(8192 + 5 * 64 + 60, kFindPadding),
                                          Warning(8192 + 9000 * 64 + 60, kFindPadding)));
  EXPECT_THAT(TextsOf(path_), ElementsAre("the bytes between records are not all zeros (129 bytes)",
                                          "the bytes between records are not all zeros (1 byte)"));
}

TEST_F(RecordFileCheck, FindsEveryByteOfAnUnusedSlotThatIsNotZero) {
  for (std::size_t position = 8192 + 3 * 72; position < sound_.size(); ++position) {
    ASSERT_THAT(FoundWithByte(position, 1), ElementsAre(Damage(position, kFindUnusedSlot)));
  }
}

TEST_F(RecordFileCheck, TellsARunOfUnusedSlotsOnce) {
  path_ = MakeJournal(disk_, 2, 10000);
  Bytes bytes = ReadBytes(path_);
  bytes[8192 + 5 * 72] = 'x';
  std::fill(bytes.begin() + 8192 + 1000 * 72, bytes.end(), '\xff');
  EXPECT_THAT(FoundIn(bytes), ElementsAre(Damage(8192 + 5 * 72, kFindUnusedSlot),
                                          Damage(8192 + 1000 * 72, kFindUnusedSlot)));
  EXPECT_THAT(
      TextsOf(path_),
      ElementsAre("the slot of record 5, which was never used, is not all zeros (1 byte)",
                  "the slots of records 1000 to 10000, which were never used, are not all zeros "
                  "(648072 bytes)"));
}

TEST_F(RecordFileCheck, FindsUnusedSlotsOnBothSidesOfTheEnd) {
  StartAt(path_, 6);  // slot 2 is next; slots 3, 0 and 1 were never used
  Bytes bytes = ReadBytes(path_);
  std::fill(bytes.begin() + 8192, bytes.end(), '\xff');
  EXPECT_THAT(FoundIn(bytes),
              ElementsAre(Damage(8192 + 3 * 72, kFindUnusedSlot), Damage(8192, kFindUnusedSlot)));
  EXPECT_THAT(TextsOf(path_),
              ElementsAre(testing::HasSubstr("record 7,"), testing::HasSubstr("records 8 to 9,")));
}

TEST_F(RecordFileCheck, FindsUnusedSlotsOfAFileWithoutABound) {
  path_ = MakeJournal(disk_, 2, kNoBound);
  sound_ = ReadBytes(path_);
  const std::size_t last = sound_.size() - 1;
  EXPECT_THAT(FoundWithByte(last, 1), ElementsAre(testing::FieldsAre(
                                          last, Severity::kDamage, std::string(kFindUnusedSlot))));
}

TEST_F(RecordFileCheck, ADamagedChecksumHidesNoOtherDamage) {
  Bytes bytes = sound_;
  bytes[64] = 'x';
  bytes.back() = 'x';
  EXPECT_THAT(FoundIn(bytes), ElementsAre(Damage(kChecksumOffset, kFindChecksum),
                                          Damage(sound_.size() - 1, kFindUnusedSlot)));
}

TEST_F(RecordFileCheck, NumbersThatCannotBeUsedEndTheCheck) {
  Bytes bytes = sound_;
  HeaderPage header = HeaderOf(bytes);
  header.slot_size = 0;
  PutSoundHeader(header, &bytes);
  bytes.back() = 'x';
  EXPECT_THAT(FoundIn(bytes), Each(testing::FieldsAre(testing::Lt(kPageSize), Severity::kDamage,
                                                      std::string(kFindNumber))));
}

TEST_F(RecordFileCheck, TellsWhatIsNoRecordFileOfThisLayout) {
  EXPECT_EQ(ResultFor({}), kEmptyFile);
  EXPECT_EQ(ResultFor(Bytes(100, 'x')), kNotARecordFile);
  EXPECT_EQ(ResultFor(Bytes(5000, 'x')), kNotARecordFile);
  EXPECT_EQ(ResultFor({sound_.begin(), sound_.begin() + 7}), kNotARecordFile);
  Bytes bytes = sound_;
  HeaderPage header = HeaderOf(bytes);
  header.layout_version = 2;
  PutSoundHeader(header, &bytes);
  EXPECT_EQ(ResultFor(bytes), kUnsupportedLayout);
  header = HeaderOf(sound_);
  header.flags = 1;
  PutSoundHeader(header, &bytes);
  EXPECT_EQ(ResultFor(bytes), kUnsupportedLayout);
  header = HeaderOf(sound_);
  header.byte_order_mark = kSwappedByteOrderMark;
  PutSoundHeader(header, &bytes);
  EXPECT_EQ(ResultFor(bytes), kOtherByteOrder);
}

// What any one byte of the file can do: nothing worse than a finding.
TEST_F(RecordFileCheck, SurvivesEveryDamagedByte) {
  const Descriptor file(open(path_.c_str(), O_WRONLY | O_CLOEXEC));
  for (std::size_t position = 0; position < sound_.size(); ++position) {
    const auto at = static_cast<off_t>(position);
    for (const char byte : {'\0', '\x7f', '\xff'}) {
      ASSERT_EQ(pwrite(file.get(), &byte, 1, at), 1);
      ASSERT_EQ(Check(path_).result, kRecordFileOk) << "byte " << position;
    }
    ASSERT_EQ(pwrite(file.get(), &sound_[position], 1, at), 1);
  }
}

TEST_F(RecordFileCheck, TellsWhetherAWriterHasTheFileOpen) {
  Descriptor file;
  ASSERT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
  bool writer = true;
  ASSERT_EQ(FindWriter(file, &writer), kRecordFileOk);
  EXPECT_FALSE(writer);
  CDbFile open_file;
  ASSERT_EQ(Open(open_file, path_, kModeRead), kRecordFileOk);
  ASSERT_EQ(FindWriter(file, &writer), kRecordFileOk);
  EXPECT_FALSE(writer) << "a reader is none";
  ASSERT_EQ(Open(open_file, path_, kModeWrite), kRecordFileOk);
  ASSERT_EQ(FindWriter(file, &writer), kRecordFileOk);
  EXPECT_TRUE(writer);
  CDbFile another;
  open_file.Done();
  EXPECT_EQ(Open(another, path_, kModeWrite), kRecordFileOk) << "asking takes no lock";
}

TEST_F(RecordFileCheck, SlotsThatAWriterReachesMeanwhileAreNoDamage) {
  // As if a writer had gone on between the look at the commit word and that at the slots.
  Descriptor file;
  path_ = MakeJournal(disk_, 2, 100000);
  ASSERT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path_, kModeWrite, 100000), kRecordFileOk);
  std::uint64_t value = 2;
  std::vector<Found> found;
  const FindingSink collect = Collector(&found);
  constexpr off_t kLastSlot = 8192 + 100000 * 72;
  const Descriptor damage(open(path_.c_str(), O_WRONLY | O_CLOEXEC));
  ASSERT_EQ(pwrite(damage.get(), "x", 1, 4104), 1);
  ASSERT_EQ(pwrite(damage.get(), "x", 1, kLastSlot), 1);
  // The finding in the state's padding comes before the slots are looked at.
  ASSERT_EQ(CheckRecordFile(file,
                            [&](const Finding& finding) {
                              collect(finding);
                              while (value < 5000) Append(writer, ++value);
                            }),
            kRecordFileOk);
  EXPECT_EQ(value, 5000U);
  EXPECT_THAT(found, ElementsAre(Damage(4104, kFindPadding), Damage(kLastSlot, kFindUnusedSlot)));
}

}  // namespace
}  // namespace packetdb::host
