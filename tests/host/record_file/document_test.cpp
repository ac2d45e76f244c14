// docs/journal_format.md says what layout.h says, and its example is what a writer leaves.
#include <cstring>
#include <gmock/gmock.h>

#include "host/record_file/frame.h"
#include "host/record_file/settings.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/page.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

std::string Text(const std::string& heading) {
  std::string text;
  for (const std::string& line : Section(heading)) text += line + "\n";
  return text;
}

#define FIELD(page, name) MakeField(begin + offsetof(page, name), fields.name, #name)

TEST(JournalFormatPage, ListsTheSuperblockAsItIs) {
  constexpr std::size_t begin = 0;
  const Superblock fields = {};
  const std::vector<Field> expected = {
      FIELD(Superblock, signature),       FIELD(Superblock, layout_version),
      FIELD(Superblock, byte_order_mark), FIELD(Superblock, header_length),
      FIELD(Superblock, cell_size),       FIELD(Superblock, record_size),
      FIELD(Superblock, frame_size),      FIELD(Superblock, frames_per_cell),
      FIELD(Superblock, flags),           FIELD(Superblock, capacity),
      FIELD(Superblock, slot_count),      FIELD(Superblock, file_length),
      FIELD(Superblock, file_id),         FIELD(Superblock, created_ns),
      FIELD(Superblock, first_sequence),  FIELD(Superblock, magic),
      FIELD(Superblock, reserved),        FIELD(Superblock, checksum),
  };
  EXPECT_THAT(Fields("Superblock"), ElementsAreArray(expected));
}

TEST(JournalFormatPage, ListsTheStatePageAsItIs) {
  constexpr std::size_t begin = kStateOffset;
  const StatePage fields = {};
  const std::vector<Field> expected = {
      FIELD(StatePage, next),
      FIELD(StatePage, merges),
      FIELD(StatePage, writer_padding),
      FIELD(StatePage, synced),
      FIELD(StatePage, merges_synced),
      FIELD(StatePage, sync_padding),
      FIELD(StatePage, state),
      FIELD(StatePage, generation),
      FIELD(StatePage, boot_id),
      FIELD(StatePage, writer_pid),
      FIELD(StatePage, reserved_word),
      FIELD(StatePage, opened_ns),
      FIELD(StatePage, damaged),
      FIELD(StatePage, lost_unsynced),
      FIELD(StatePage, overwritten_before),
      FIELD(StatePage, known_holes),
      FIELD(StatePage, reserved_sector),
      FIELD(StatePage, redo),
      FIELD(StatePage, reserved),
      FIELD(StatePage, checksum),
  };
  EXPECT_THAT(Fields("State page"), ElementsAreArray(expected));
}

#undef FIELD

// A listing with a gap would leave bytes without a meaning.
void ExpectNoByteLeftOut(const std::string& heading, std::size_t begin) {
  std::size_t end = begin;
  for (const Field& field : Fields(heading)) {
    EXPECT_EQ(field.offset, end) << field.name;
    end += std::stoul(field.size);
  }
  EXPECT_EQ(end, begin + kPageSize);
}

TEST(JournalFormatPage, LeavesNoByteOut) {
  ExpectNoByteLeftOut("Superblock", 0);
  ExpectNoByteLeftOut("State page", kStateOffset);
}

TEST(JournalFormatPage, ListsTheFramesOfEachRecordSize) {
  std::vector<std::uint64_t> sizes;
  for (const std::vector<std::string>& row : Rows("Cells and frames", 5)) {
    if (row[0].find_first_not_of("0123456789") != std::string::npos) continue;
    const std::uint64_t size = std::stoul(row[0]);
    const std::uint64_t frame = FrameSize(size);
    const std::uint64_t frames = FramesPerCell(frame);
    EXPECT_THAT(row, ElementsAre(row[0], std::to_string(frame),
                                 std::to_string(frame - size - kFrameTailSize),
                                 std::to_string(frames), std::to_string(512 - frames * frame)));
    sizes.push_back(size);
  }
  EXPECT_THAT(sizes, ElementsAre(72, 64, 60, 504));
}

TEST(JournalFormatPage, NamesTheConstants) {
  EXPECT_THAT(Text("The file as a whole"), HasSubstr("| " + std::to_string(kCellsOffset) + " | e"));
  const std::string superblock = Text("Superblock");
  EXPECT_THAT(superblock, HasSubstr("`layout_version` | " + std::to_string(kLayoutVersion) + ";"));
  EXPECT_THAT(superblock, HasSubstr("`header_length` | " + std::to_string(kCellsOffset) + ":"));
  EXPECT_THAT(superblock, HasSubstr("`cell_size` | " + std::to_string(kCellSize) + " |"));
  EXPECT_THAT(superblock, HasSubstr("1 to " + std::to_string(kMaxRecordSize) + " |"));
  EXPECT_THAT(superblock, HasSubstr("1 to " + std::to_string(kMaxRecords) + ";"));
  EXPECT_THAT(superblock, HasSubstr("larger of " + std::to_string(kMinSlack) +
                                    " and `capacity` / " + std::to_string(kSlackDivisor)));
  EXPECT_EQ(kMaxSequence, ~std::uint64_t{0} - 0xFFFFFFFF) << "2^64 - 2^32, as the page says";
  EXPECT_THAT(Text("State page"),
              HasSubstr(std::to_string(kClosed) + " closed, " + std::to_string(kOpen) + " open"));
  EXPECT_THAT(Text("State page"), HasSubstr(std::to_string(kFailed) + " failed"));
}

class JournalFormatExample : public testing::Test {
 protected:
  TestRecord RecordAt(std::uint64_t offset) const {
    TestRecord record;
    std::memcpy(record.data(), bytes_.data() + offset, sizeof record);
    return record;
  }

  // A file that is made as the page says the example was.
  Bytes Make(const TestRecord& first, const TestRecord& second) {
    const std::string path = disk_.NewPath();
    CDbFile file;
    EXPECT_EQ(Open(file, path, kModeMissing, 2), kRecordFileOk);
    EXPECT_EQ(file.AppendRecord(MakeTestRecord(1).data()), 0);
    EXPECT_EQ(file.AppendRecord(second.data()), 1);
    EXPECT_EQ(file.WriteRecord(0, first.data()), kRecordFileOk);
    file.Done();
    return ReadBytes(path);
  }

  Disk disk_;
  Bytes bytes_ = UndoHexDump(Section("Example"));
};

TEST_F(JournalFormatExample, IsAFileThatCanBeOpened) {
  const std::string path = disk_.NewPath();
  WriteBytes(path, bytes_);
  const ThoroughOpening thorough;
  CDbFile file;
  ASSERT_EQ(Open(file, path, kModeWrite, 2), kRecordFileOk);
  ASSERT_EQ(file.RecordCount(), 2);
  Bytes records(2 * kTestRecordSize);
  ASSERT_EQ(file.ReadRecords(0, records.data(), 2), 2);
  const std::vector<char> packets = {records[47], records[kTestRecordSize + 47]};
  EXPECT_THAT(packets, ElementsAre(3, 1)) << "the packet counts, at byte 47 of a record";
  file.Done();
  EXPECT_EQ(ReadBytes(path), bytes_) << "a sound file, in which there is nothing to repair";
}

// But for when, where and by whom it was made, and the checksums that depend on that.
TEST_F(JournalFormatExample, IsWhatAWriterLeaves) {
  ASSERT_EQ(bytes_.size(), 364'544U);
  const TestRecord first = RecordAt(kCellsOffset);
  const TestRecord second = RecordAt(kCellsOffset + FrameSize(72));
  Bytes made = Make(first, second);
  const Superblock shown_block = SuperblockOf(bytes_);
  Superblock block = SuperblockOf(made);
  block.file_id = shown_block.file_id;
  block.created_ns = shown_block.created_ns;
  PutSoundSuperblock(block, &made);
  Geometry geometry = GeometryOf(72, 2);
  std::memcpy(&geometry.seed, block.file_id.data(), sizeof geometry.seed);
  const auto seal = [&](const TestRecord& record, std::uint64_t sequence, std::uint64_t offset) {
    SealFrame(geometry, record.data(), sequence,
              reinterpret_cast<std::byte*>(made.data() + offset));
  };
  seal(first, 0, kCellsOffset);
  seal(second, 1, kCellsOffset + geometry.frame_size);
  seal(first, 0, kRedoOffset);
  const StatePage shown_state = StateOf(bytes_);
  StatePage state = StateOf(made);
  state.boot_id = shown_state.boot_id;
  state.writer_pid = shown_state.writer_pid;
  state.opened_ns = shown_state.opened_ns;
  PutSoundState(state, &made);
  EXPECT_TRUE(made == bytes_);
}

}  // namespace
}  // namespace packetdb::host
