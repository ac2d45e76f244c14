#include "host/record_file/rescue.h"

#include <algorithm>

#include "host/record_file/frame.h"
#include "host/record_file/rescue_frames.h"
#include "host/record_file/rescue_key.h"
#include "host/record_file/rescue_write.h"
#include "host/record_file/superblock.h"

namespace packetdb::host {
namespace {

bool IsIntact(const Superblock& block) {
  return VerifySuperblock(block, sizeof block) == kRecordFileOk;
}

// Numbers that go with each other are right, whatever else of the superblock is wrong.
bool HasCapacity(const Superblock& block, const Geometry& geometry) {
  if (block.record_size != geometry.record_size || block.capacity > kMaxRecords) return false;
  if (block.capacity == 0) return block.slot_count == 0 && block.file_length == 0;
  const std::uint64_t slots = SlotCount(block.capacity, geometry.frames_per_cell);
  return block.slot_count == slots &&
         block.file_length == FileLength(slots, geometry.frames_per_cell);
}

class Rescuer {
 public:
  Rescuer(const Descriptor& file, const RescueRequest& request, Rescued* rescued)
      : source_(file), front_(source_.ReadFront()), request_(request), rescued_(rescued) {}

  RecordFileResult Run(const std::string& path) {
    const auto found = FindKey(source_, front_, request_);
    if (!found) return kRecordFileOk;
    key_ = found->key;
    rescued_->seed = key_.geometry.seed;
    rescued_->is_seed_computed = found->is_seed_computed;
    ChooseFormat();
    Collect();
    Order();
    AddRedo();
    // It was there when the key was looked for: the disk has given up, or somebody has cut the
    // file.
    if (records_.empty()) return kRecordFileOk;
    DropOlder();
    Count();
    return WriteRescued(source_, key_, rescued_->format, records_, path, &rescued_->written);
  }

 private:
  // The one superblock that is intact, or the other, has the magic; else the size tells it.
  void ChooseFormat() {
    rescued_->format.record_size = key_.geometry.record_size;
    rescued_->format.magic = request_.known.front().magic;
    for (const RecordFormat& format : request_.known) {
      if (format.record_size != key_.geometry.record_size) continue;
      rescued_->format.magic = format.magic;
      break;
    }
    rescued_->format.capacity = source_.cells() * key_.geometry.frames_per_cell;
    for (const Superblock* block : {&front_.b, &front_.a}) {
      if (HasCapacity(*block, key_.geometry)) {
        rescued_->format.capacity = block->capacity;
        rescued_->is_capacity_known = true;
      }
      if (IsIntact(*block)) rescued_->format.magic = MagicOf(*block);
    }
    rescued_->format.capacity = std::min(rescued_->format.capacity, kMaxRecords);
  }

  void Collect() {
    rescued_->slots = source_.cells() * key_.geometry.frames_per_cell;
    source_.ForEachFrame(key_.geometry, [this](std::uint64_t offset, const std::byte* frame) {
      if (const auto number = NumberOf(key_, frame)) {
        records_.push_back({*number, offset});
      } else if (IsNeverWritten(key_.geometry, frame)) {
        ++rescued_->empty;
      }
      return true;
    });
    rescued_->damaged = rescued_->slots - rescued_->empty - records_.size();
  }

  void Order() {
    std::stable_sort(
        records_.begin(), records_.end(),
        [](const FoundRecord& a, const FoundRecord& b) { return a.number < b.number; });
    const auto end = std::unique(
        records_.begin(), records_.end(),
        [](const FoundRecord& a, const FoundRecord& b) { return a.number == b.number; });
    rescued_->repeated = static_cast<std::uint64_t>(records_.end() - end);
    records_.erase(end, records_.end());
  }

  // What the last overwrite wrote: the slot of its record may have been torn by it, or not yet
  // reached.
  void AddRedo() {
    const auto* const redo = reinterpret_cast<const std::byte*>(front_.state.redo.data());
    const auto number = NumberOf(key_, redo);
    if (!number) return;
    const auto at = std::lower_bound(
        records_.begin(), records_.end(), *number,
        [](const FoundRecord& record, std::uint64_t wanted) { return record.number < wanted; });
    if (at != records_.end() && at->number == *number) {
      at->offset = kRedoOffset;
    } else {
      records_.insert(at, {*number, kRedoOffset});
    }
  }

  // The ring goes on using slots for a while after their records have been dropped.
  void DropOlder() {
    const std::uint64_t capacity = rescued_->format.capacity;
    const std::uint64_t last = records_.back().number;
    if (capacity == 0 || last < capacity) return;
    const auto begin = std::upper_bound(
        records_.begin(), records_.end(), last - capacity,
        [](std::uint64_t number, const FoundRecord& r) { return number < r.number; });
    rescued_->older = static_cast<std::uint64_t>(begin - records_.begin());
    records_.erase(records_.begin(), begin);
  }

  void Count() {
    rescued_->first = records_.front().number;
    rescued_->last = records_.back().number;
    rescued_->missing = rescued_->last - rescued_->first + 1 - records_.size();
  }

  const RescueSource source_;
  const FrontPages front_;
  const RescueRequest& request_;
  Rescued* const rescued_;
  FrameKey key_;
  std::vector<FoundRecord> records_;
};

}  // namespace

RecordFileResult Rescue(const Descriptor& file, const RescueRequest& request,
                        const std::string& path, Rescued* rescued) {
  return Rescuer(file, request, rescued).Run(path);
}

}  // namespace packetdb::host
