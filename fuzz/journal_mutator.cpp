#include "fuzz/journal_mutator.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>

#include "fuzz/journal_surgery.h"
#include "host/record_file/frame.h"
#include "host/record_file/state.h"
#include "packetdb/journal_format.h"

namespace packetdb::fuzz {
namespace {

using host::Geometry;
using host::StatePage;
using host::Superblock;

// One file under the knife.
class Surgeon {
 public:
  Surgeon(std::uint64_t seed, const Description& description)
      : random_(seed), options_(description.options), file_(Expand(description)) {}

  void Operate() {
    static constexpr std::array kOperations = {
        &Surgeon::ChangeNumber,  &Surgeon::ChangeFormat,   &Surgeon::ChangeState,
        &Surgeon::ChangeState,   &Surgeon::MoveFrame,      &Surgeon::TearFrame,
        &Surgeon::AddFrame,      &Surgeon::AddFrame,       &Surgeon::ChangeLength,
        &Surgeon::ChangeOptions, &Surgeon::MixSuperblocks, &Surgeon::ChangeFirst,
        &Surgeon::MoveRedo};
    (this->*kOperations[Below(kOperations.size())])();
  }

  void Seal() {
    SealFront(&file_);
    Geometry geometry;
    if (Below(2) == 0 && FindGeometry(file_, &geometry)) SealFrames(geometry, &file_);
  }

  Bytes Description() const { return Serialize(Describe(file_, options_)); }

 private:
  std::uint64_t Below(std::uint64_t bound) { return random_() % bound; }

  // Numbers at which something ends, and their neighbours.
  std::uint64_t DrawNumber(std::uint64_t current) {
    const std::uint64_t near = Below(9) - 4;
    switch (Below(7)) {
      case 0:
        return near;
      case 1:
        return (std::uint64_t{1} << Below(64)) + near;
      case 2:
        return host::kMaxSequence + near;
      case 3:
        return host::kMaxRecords + near;
      case 4:
        return random_();
      case 5:
        return current ^ (std::uint64_t{1} << Below(64));
      default:
        return current + near;
    }
  }

  void ChangeNumber() {
    static constexpr std::array<std::size_t, 9> kNarrow = {8, 12, 16, 20, 24, 28, 32, 36, 64};
    static constexpr std::array<std::size_t, 5> kWide = {40, 48, 56, 80, 88};
    auto block = Get<Superblock>(file_, host::kSuperblockAOffset);
    auto* const bytes = reinterpret_cast<std::uint8_t*>(&block);
    const bool is_wide = Below(2) == 0;
    const std::size_t offset =
        is_wide ? kWide[Below(kWide.size())] : kNarrow[Below(kNarrow.size())];
    std::uint64_t number = 0;
    const std::size_t size = is_wide ? 8 : 4;
    std::memcpy(&number, bytes + offset, size);
    number = DrawNumber(number);
    std::memcpy(bytes + offset, &number, size);
    PutSuperblock(block);
  }

  // In one place, or in both.
  void PutSuperblock(const Superblock& block) {
    const std::uint64_t where = Below(4);
    if (where != 1) Put(block, host::kSuperblockAOffset, &file_);
    if (where != 2) Put(block, host::kSuperblockBOffset, &file_);
  }

  void ChangeFormat() {
    struct Format {
      std::string_view magic;
      std::uint32_t record_size;
    };
    const std::array<Format, 4> formats = {
        Format{kJournalMagic, kJournalRecordSize}, Format{kFormat3Magic, kFormat3RecordSize},
        Format{kJournalMagic, kFormat41RecordSize},
        Format{"another", 1 + static_cast<std::uint32_t>(Below(host::kMaxRecordSize))}};
    auto block = Get<Superblock>(file_, host::kSuperblockAOffset);
    const Format& format = formats[Below(formats.size())];
    block.magic = {};
    std::copy(format.magic.begin(), format.magic.end(), block.magic.begin());
    SetFormat(format.record_size, Below(2) * (1 + Below(300)), &block, &file_);
    Put(block, host::kSuperblockAOffset, &file_);
    Put(block, host::kSuperblockBOffset, &file_);
  }

  void ChangeState() {
    auto state = Get<StatePage>(file_, host::kStateOffset);
    switch (Below(8)) {
      case 0:
        state.next = DrawNumber(state.next);
        break;
      case 1:
        state.next += Below(5) - 2;
        break;
      case 2:
        state.synced = DrawNumber(state.next);
        break;
      case 3:
        state.merges = DrawNumber(state.merges);
        break;
      case 4:
        state.known_holes = DrawNumber(state.known_holes);
        break;
      case 5:
        state.generation = static_cast<std::uint32_t>(DrawNumber(state.generation));
        break;
      default:
        state.state = static_cast<std::uint32_t>(Below(5));
        break;
    }
    Put(state, host::kStateOffset, &file_);
  }

  bool DrawSlot(const Geometry& geometry, std::uint64_t* offset) {
    if (geometry.slot_count == 0) return false;
    const auto state = Get<StatePage>(file_, host::kStateOffset);
    const bool is_near = host::IsPlausibleNext(geometry, state.next) && Below(4) != 0;
    const std::uint64_t slot =
        is_near ? host::SlotOf(geometry, state.next + 1 - Below(12)) : Below(geometry.slot_count);
    *offset = host::OffsetOfSlot(geometry, slot % geometry.slot_count);
    return true;
  }

  // Of two slots, a part of one over the other; false when there are none.
  bool CopyPart(bool is_swap, bool is_part) {
    Geometry geometry;
    std::uint64_t from = 0;
    std::uint64_t to = 0;
    if (!FindGeometry(file_, &geometry)) return false;
    if (!DrawSlot(geometry, &from) || !DrawSlot(geometry, &to)) return false;
    const std::uint64_t size = is_part ? Below(geometry.frame_size) : geometry.frame_size;
    const Bytes kept = Cut(to, size);
    Paste(Cut(from, size), to);
    if (is_swap) Paste(kept, from);
    return true;
  }
  Bytes Cut(std::uint64_t offset, std::uint64_t size) const {
    const auto begin = file_.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
  }
  void Paste(const Bytes& bytes, std::uint64_t offset) {
    std::copy(bytes.begin(), bytes.end(), file_.begin() + static_cast<std::ptrdiff_t>(offset));
  }

  void MoveFrame() { CopyPart(Below(2) == 0, false); }
  void TearFrame() { CopyPart(false, true); }

  void MoveRedo() {
    Geometry geometry;
    std::uint64_t slot = 0;
    if (!FindGeometry(file_, &geometry) || !DrawSlot(geometry, &slot)) return;
    const bool is_to_redo = Below(2) == 0;
    Paste(Cut(is_to_redo ? slot : host::kRedoOffset, geometry.frame_size),
          is_to_redo ? host::kRedoOffset : slot);
  }

  // A record that was written: the next one, one of long ago, or one that cannot be.
  void AddFrame() {
    Geometry geometry;
    if (!FindGeometry(file_, &geometry) || geometry.slot_count == 0) return;
    auto state = Get<StatePage>(file_, host::kStateOffset);
    const std::uint64_t near = Below(6) - 3;
    const std::array<std::uint64_t, 5> sequences = {
        state.next, state.next + near, state.next - geometry.slot_count + near,
        state.next + geometry.slot_count + near, DrawNumber(state.next)};
    const std::uint64_t sequence = sequences[Below(sequences.size())];
    const std::uint64_t slot = host::SlotOf(geometry, sequence) % geometry.slot_count;
    const std::uint64_t offset =
        Below(8) == 0 ? host::kRedoOffset : host::OffsetOfSlot(geometry, slot);
    const Bytes record(geometry.record_size, static_cast<std::uint8_t>(random_()));
    host::SealFrame(geometry, record.data(), sequence,
                    reinterpret_cast<std::byte*>(file_.data()) + offset);
    if (sequence == state.next && Below(2) == 0) ++state.next;
    Put(state, host::kStateOffset, &file_);
  }

  void ChangeLength() {
    static constexpr std::array<std::uint64_t, 5> kUnits = {1, 8, 512, 4096, 1U << 17U};
    const std::uint64_t unit = kUnits[Below(kUnits.size())] * (1 + Below(4));
    const std::uint64_t size = file_.size();
    file_.resize(Below(2) == 0 ? size - std::min(size, unit)
                               : std::min(size + unit, kMaxFileLength));
  }

  void ChangeOptions() { options_ ^= static_cast<std::uint8_t>(1U << Below(3)); }

  void MixSuperblocks() {
    const auto a = Get<Superblock>(file_, host::kSuperblockAOffset);
    switch (Below(4)) {
      case 0:
        Put(a, host::kSuperblockBOffset, &file_);
        break;
      case 1:
        Put(Superblock{}, host::kSuperblockAOffset, &file_);
        break;
      case 2:
        Put(Superblock{}, host::kSuperblockBOffset, &file_);
        break;
      default:
        Put(a, host::kStateOffset, &file_);
        break;
    }
  }

  // Moves all numbers of the file, records and all, to about where something ends.
  void ChangeFirst() {
    auto block = Get<Superblock>(file_, host::kSuperblockAOffset);
    auto state = Get<StatePage>(file_, host::kStateOffset);
    const std::uint64_t first = DrawNumber(block.first_sequence);
    state.next += first - block.first_sequence;
    state.synced += first - block.first_sequence;
    block.first_sequence = first;
    Put(block, host::kSuperblockAOffset, &file_);
    Put(block, host::kSuperblockBOffset, &file_);
    Put(state, host::kStateOffset, &file_);
  }

  std::mt19937_64 random_;
  std::uint8_t options_;
  Bytes file_;
};

}  // namespace

Bytes JournalMutator::Mutate(const std::uint8_t* data, std::size_t size) {
  Surgeon surgeon(random_(), ParseDescription(data, size));
  const std::uint32_t operations = is_raw_ ? Below(2) : 1 + Below(3);
  for (std::uint32_t i = 0; i < operations; ++i) surgeon.Operate();
  if (Below(2) == 0) surgeon.Seal();
  return surgeon.Description();
}

}  // namespace packetdb::fuzz
