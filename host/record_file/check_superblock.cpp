#include "host/record_file/check_superblock.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "host/record_file/check_zeros.h"
#include "host/record_file/medium.h"
#include "host/record_file/superblock.h"

namespace packetdb::host {
namespace {

struct Rule {
  std::size_t position;
  bool (*holds)(const Superblock& block);
  const char* otherwise;
};

bool HasUsableSizes(const Superblock& b) {
  return b.record_size >= 1 && b.record_size <= kMaxRecordSize &&
         b.frame_size == FrameSize(b.record_size) &&
         b.frames_per_cell == FramesPerCell(b.frame_size);
}

std::uint64_t SlotsOf(const Superblock& b) {
  return b.capacity == 0 ? 0 : SlotCount(b.capacity, b.frames_per_cell);
}

std::uint64_t LengthOf(const Superblock& b) {
  return b.slot_count == 0 ? 0 : FileLength(b.slot_count, b.frames_per_cell);
}

// In this order: each counts on the numbers before it, and only the first that is wrong is certain.
constexpr Rule kRules[] = {
    {offsetof(Superblock, byte_order_mark),
     [](const Superblock& b) { return b.byte_order_mark == kByteOrderMark; },
     "the byte-order mark is not 0x01020304"},
    {offsetof(Superblock, header_length),
     [](const Superblock& b) { return b.header_length == kCellsOffset; },
     "the header length is not 12288"},
    {offsetof(Superblock, cell_size), [](const Superblock& b) { return b.cell_size == kCellSize; },
     "the cell size is not 512"},
    {offsetof(Superblock, record_size),
     [](const Superblock& b) { return b.record_size >= 1 && b.record_size <= kMaxRecordSize; },
     "the record size is not from 1 to 504"},
    {offsetof(Superblock, frame_size),
     [](const Superblock& b) { return b.frame_size == FrameSize(b.record_size); },
     "the frame size does not go with the record size"},
    {offsetof(Superblock, frames_per_cell), HasUsableSizes,
     "the frames of a cell are not as many as fit"},
    {offsetof(Superblock, capacity), [](const Superblock& b) { return b.capacity <= kMaxRecords; },
     "the capacity is beyond 2147483647"},
    {offsetof(Superblock, slot_count),
     [](const Superblock& b) { return b.slot_count == SlotsOf(b); },
     "the slot count does not go with the capacity"},
    {offsetof(Superblock, file_length),
     [](const Superblock& b) { return b.file_length == LengthOf(b); },
     "the file length does not go with the slot count"},
    {offsetof(Superblock, first_sequence),
     [](const Superblock& b) { return b.first_sequence < kMaxSequence; },
     "the first sequence number is beyond what records can be numbered with"},
};

class BlockCheck {
 public:
  BlockCheck(const Superblock& block, std::uint64_t offset, const FindingSink& sink)
      : block_(block), offset_(offset), sink_(sink) {}

  // Under a checksum that goes with them.
  void CheckNumbers() {
    const auto* const wrong = std::find_if_not(std::begin(kRules), std::end(kRules),
                                               [this](const Rule& r) { return r.holds(block_); });
    if (wrong != std::end(kRules)) Damage(wrong->position, kFindNumber, wrong->otherwise);
    CheckMagic();
  }

  void CheckReserved() {
    Runs runs(kPaddingGap, [this](const ByteRange& run) {
      sink_({run.begin, Severity::kDamage, kFindReserved,
             "reserved bytes of " + Name() + " are not 0 " + LengthText(run)});
    });
    const auto* const bytes = reinterpret_cast<const std::byte*>(&block_);
    constexpr std::size_t kBegin = offsetof(Superblock, reserved);
    runs.AddWrongOf(bytes + kBegin, bytes + kChecksumOffset, offset_ + kBegin);
    runs.End();
  }

  void TellOfDamage(bool is_other_intact) {
    Damage(0, kFindSuperblock,
           Name() + " is damaged: " +
               (is_other_intact ? "the next writer makes it anew from the other one"
                                : "packetdb check --rescue builds a new file of the records"));
  }

 private:
  std::string Name() const {
    return offset_ == kSuperblockAOffset ? "the first superblock" : "the second superblock";
  }

  void Damage(std::uint64_t position, std::string_view kind, const std::string& text) {
    sink_({offset_ + position, Severity::kDamage, kind, text});
  }

  void CheckMagic() {
    const std::size_t used = MagicOf(block_).size();
    const auto* const padding = block_.magic.begin() + used;
    const auto* const stray =
        std::find_if(padding, block_.magic.end(), [](char c) { return c != '\0'; });
    const auto at = static_cast<std::size_t>(stray - block_.magic.begin());
    if (used == kMagicSize) {
      Damage(offsetof(Superblock, magic) + kMagicSize - 1, kFindNumber, "the magic does not end");
    } else if (at != kMagicSize) {
      Damage(offsetof(Superblock, magic) + at, kFindNumber,
             "the magic is not filled up with zeros");
    }
  }

  const Superblock& block_;
  const std::uint64_t offset_;
  const FindingSink& sink_;
};

struct Page {
  Superblock block = {};
  RecordFileResult verdict = kRecordFileOk;
  bool is_there = true;
};

RecordFileResult ReadPage(const Medium& medium, std::uint64_t offset, Page* page) {
  const RecordFileResult result = medium.Read(offset, &page->block, sizeof page->block);
  page->is_there = result != kTruncatedFile;
  page->verdict = VerifySuperblock(page->block, kPageSize);
  return page->is_there ? result : kRecordFileOk;
}

void CheckPage(const Page& page, const Page& other, std::uint64_t offset, const FindingSink& sink) {
  if (!page.is_there) return;
  BlockCheck check(page.block, offset, sink);
  if (page.verdict == kRecordFileOk) {
    check.CheckReserved();
  } else if (page.verdict == kAbsurdHeader) {
    check.CheckNumbers();
  } else {
    check.TellOfDamage(other.is_there && other.verdict == kRecordFileOk);
  }
}

}  // namespace

RecordFileResult CheckSuperblocks(const Descriptor& file, const FindingSink& sink) {
  Medium medium;
  // By calls, this cannot fail.
  static_cast<void>(medium.Open(file, 0, kCellsOffset, Access::kRead, Way::kByCalls));
  Page a;
  Page b;
  RecordFileResult result = ReadPage(medium, kSuperblockAOffset, &a);
  if (result == kRecordFileOk) result = ReadPage(medium, kSuperblockBOffset, &b);
  if (result < 0) return result;
  CheckPage(a, b, kSuperblockAOffset, sink);
  CheckPage(b, a, kSuperblockBOffset, sink);
  const bool are_intact = a.verdict == kRecordFileOk && b.verdict == kRecordFileOk;
  if (are_intact && std::memcmp(&a.block, &b.block, sizeof a.block) != 0) {
    sink({kSuperblockBOffset, Severity::kDamage, kFindSuperblock,
          "the second superblock is intact, but another one than the first"});
  }
  return result;
}

}  // namespace packetdb::host
