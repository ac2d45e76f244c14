#include "tests/faults/integrity/golden_recipe.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <stdexcept>

#include "host/record_file/create.h"
#include "host/record_file/frame.h"
#include "host/record_file/geometry.h"
#include "host/record_file/modes.h"
#include "host/record_file/state.h"
#include "host/record_file/superblock.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/faults/integrity/history.h"

namespace packetdb::faults {
namespace {

void Require(int result, const std::string& what) {
  if (result < 0) throw std::runtime_error(fmt::format("{} failed: {}", what, result));
}

template <class Structure>
Structure Get(const Bytes& bytes, std::uint64_t offset) {
  Structure structure;
  std::memcpy(&structure, bytes.data() + offset, sizeof structure);
  return structure;
}

template <class Structure>
void Put(const Structure& structure, std::uint64_t offset, Bytes* bytes) {
  std::memcpy(bytes->data() + offset, &structure, sizeof structure);
}

host::Geometry GeometryOf(const Bytes& bytes) {
  host::Geometry geometry;
  Require(host::FitToLength(Get<host::Superblock>(bytes, 0), bytes.size(), &geometry), "geometry");
  return geometry;
}

void CreateEmpty(const GoldenRecipe& recipe, const std::string& path) {
  host::Creation creation(path);
  const host::RecordFormat format = {
      .magic = recipe.magic, .record_size = recipe.record_size, .capacity = recipe.capacity};
  Require(creation.Begin(format, recipe.first_sequence), path);
  host::Descriptor file;
  Require(creation.Publish(host::Predecessor::kNone, &file), path);
}

void Fill(const GoldenRecipe& recipe, CDbFile& file) {
  Bytes record(recipe.record_size);
  const std::uint64_t end = recipe.first_sequence + recipe.appended;
  for (std::uint64_t sequence = recipe.first_sequence; sequence < end; ++sequence) {
    MakeRecord({sequence, 0}, recipe.record_size, record.data());
    Require(file.AppendRecord(record.data()), "an append");
  }
  for (std::uint64_t sequence = end - recipe.overwritten; sequence < end; ++sequence) {
    MakeRecord({sequence, 1}, recipe.record_size, record.data());
    Require(file.WriteRecord(static_cast<int>(sequence), record.data()), "an overwrite");
  }
}

// As if the machine had stopped before the second half of the newest record was stored.
void TearNewest(const GoldenRecipe& recipe, Bytes* bytes) {
  const host::Geometry geometry = GeometryOf(*bytes);
  const std::uint64_t newest = recipe.first_sequence + recipe.appended - 1;
  const auto begin = bytes->begin() + static_cast<std::ptrdiff_t>(host::OffsetOf(geometry, newest));
  std::fill(begin + geometry.frame_size / 2, begin + geometry.frame_size, std::byte{0});
  auto state = Get<host::StatePage>(*bytes, host::kStateOffset);
  state.boot_id.fill(1);
  Put(state, host::kStateOffset, bytes);
}

// Seals a frame, if there is one, for a file with the seed of `to`.
void Reseal(const host::Geometry& from, const host::Geometry& to, std::uint64_t near,
            std::byte* frame) {
  if (host::IsNeverWritten(from, frame)) return;
  const std::uint64_t sequence = host::NearestSequence(near, host::LowSequenceOf(from, frame));
  if (!host::IsFrameOf(from, sequence, frame)) throw std::runtime_error("a frame is not sealed");
  const Bytes record(frame, frame + from.record_size);
  host::SealFrame(to, record.data(), sequence, frame);
}

}  // namespace

const std::vector<GoldenRecipe>& GoldenRecipes() {
  // The first of them goes over the end of the ring.
  static const std::vector<GoldenRecipe> recipes = {
      {"layout_2_format_4", kJournalMagic, kJournalRecordSize, 5, 4125, 8, 3, false, false},
      {"layout_2_died", kJournalMagic, kJournalRecordSize, 5, 0, 7, 2, true, false},
      {"layout_2_format_41", kJournalMagic, kFormat41RecordSize, 10, 0, 7, 2, false, true},
      {"layout_2_format_3", kFormat3Magic, kFormat3RecordSize, 10, 0, 12, 1, false, true},
      {"layout_2_growing", "growing", 40, 0, 1000, 9, 4, false, false},
  };
  return recipes;
}

Bytes MakeGolden(const GoldenRecipe& recipe, const std::string& path) {
  CreateEmpty(recipe, path);
  CDbFile file;
  const unsigned long records = recipe.capacity == 0 ? ~0UL : recipe.capacity;
  Require(file.Init(path, recipe.magic.c_str(), recipe.record_size, records, host::mode::kWrite),
          path);
  Fill(recipe, file);
  if (!recipe.died) file.Done();
  Bytes bytes = ReadFile(path);
  if (recipe.died) TearNewest(recipe, &bytes);
  return bytes;
}

void Dress(const Bytes& like, Bytes* bytes) {
  const auto golden = Get<host::Superblock>(like, 0);
  const auto golden_state = Get<host::StatePage>(like, host::kStateOffset);
  auto block = Get<host::Superblock>(*bytes, 0);
  auto state = Get<host::StatePage>(*bytes, host::kStateOffset);
  const host::Geometry from = GeometryOf(*bytes);
  block.file_id = golden.file_id;
  block.created_ns = golden.created_ns;
  block.checksum = host::ChecksumOf(block);
  Put(block, host::kSuperblockAOffset, bytes);
  Put(block, host::kSuperblockBOffset, bytes);
  const host::Geometry to = GeometryOf(*bytes);
  for (std::uint64_t slot = 0; slot < from.slot_count; ++slot) {
    Reseal(from, to, state.next, bytes->data() + host::OffsetOfSlot(from, slot));
  }
  Reseal(from, to, state.next, reinterpret_cast<std::byte*>(state.redo.data()));
  state.boot_id = golden_state.boot_id;
  state.writer_pid = golden_state.writer_pid;
  state.opened_ns = golden_state.opened_ns;
  state.checksum = host::ChecksumOf(state);
  Put(state, host::kStateOffset, bytes);
}

}  // namespace packetdb::faults
