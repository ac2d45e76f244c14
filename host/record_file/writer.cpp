#include "host/record_file/writer.h"

#include <algorithm>
#include <cstddef>
#include <syslog.h>
#include <utility>

#include "host/record_file/clear_torn.h"
#include "host/record_file/create.h"
#include "host/record_file/inode_mark.h"
#include "host/record_file/layout.h"
#include "host/record_file/repair.h"
#include "host/record_file/state.h"
#include "platform/log.h"

namespace packetdb::host {
namespace {

// By name, of those that are found at once: a file that was cut has lost them by the thousand.
constexpr std::size_t kDamagedTold = 3;

std::uint64_t ChangesIn(std::uint64_t bytes, const Geometry& geometry) {
  return std::max<std::uint64_t>(1, bytes / geometry.frame_size);
}

std::string Records(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " record" : " records");
}

}  // namespace

Writer::Writer(const std::string& path, const Descriptor& file, Medium& medium, Geometry& geometry,
               const FileFacts& facts, const Recovered& recovered)
    : path_(path),
      file_(file),
      medium_(medium),
      geometry_(geometry),
      superblock_(facts.superblock),
      has_both_superblocks_(facts.has_both_superblocks),
      ring_(medium, geometry, recovered.next, facts.state.merges),
      state_(facts.state) {}

RecordFileResult Writer::Start(Way way, const SyncPolicy& policy, const Recovered& recovered) {
  policy_ = policy;
  KnowThisBoot();
  changes_until_nudge_ = ChangesIn(policy.bytes, geometry_);
  syncer_->PrefaultFor(geometry_);
  RecordFileResult result = syncer_->Attach(file_, way, path_);
  if (result == kRecordFileOk && !has_both_superblocks_) {
    Report(LOG_WARNING, "one of the two superblocks was damaged and is made anew");
    result = RestoreSuperblocks(superblock_, medium_);
  }
  if (result == kRecordFileOk && !recovered.is_as_stated) result = Repair(recovered);
  // Not before: a flush that failed in the middle of a repair would be forgotten at its end.
  return result < 0 ? result : syncer_->Start(policy);
}

// Stopped anywhere, it is begun again by the next writer, and finds what it found.
RecordFileResult Writer::Repair(const Recovered& recovered) {
  TellOfLosses(recovered);
  RecordFileResult result = kRecordFileOk;
  if (recovered.has_redo) result = ring_.CompleteRedo(recovered.redo_sequence);
  if (result == kRecordFileOk) result = ClearUnused(geometry_, recovered, &state_, medium_);
  if (result == kRecordFileOk && state_.state != kClosed) {
    result = ClearTornSlots(medium_, geometry_, recovered, state_.synced);
  }
  if (result == kRecordFileOk) result = ring_.StoreNext();
  if (result == kRecordFileOk && state_.state == kFailed) result = RewriteCells(geometry_, medium_);
  if (result < 0) return result;
  state_.generation += recovered.searched ? 1 : 0;
  state_.damaged += recovered.damaged;
  state_.lost_unsynced += recovered.lost_unsynced;
  state_.known_holes = recovered.holes.size();
  // The disk knows that the file is open, and what has not been flushed can wait for its turn.
  if (recovered.is_in_memory && MarkOf(file_.get()) == InodeMark::kOpenOnDisk) return StoreOpen();
  result = MarkOpen();
  // Once more, so that the disk knows how far the first flush came: what was lost before that is
  // not to be counted again after the next power cut.
  static_cast<void>(syncer_->FlushUnnoted());
  return result;
}

void Writer::TellOfLosses(const Recovered& recovered) const {
  if (recovered.damaged != 0) {
    Report(LOG_ERR, Records(recovered.damaged) + " found damaged; packetdb check tells where");
  }
  if (recovered.lost_unsynced != 0) {
    Report(LOG_WARNING, Records(recovered.lost_unsynced) +
                            " not flushed to the disk before the machine stopped, and lost");
  }
}

// On the disk before anything else changes there: else a power cut could leave a page that says
// closed over records that are not.
RecordFileResult Writer::MarkOpen() {
  // The mark may be that of an earlier writer, who has closed the file since.
  if (MarkOf(file_.get()) == InodeMark::kOpenOnDisk) MarkInode(file_.get(), InodeMark::kOpen);
  const RecordFileResult result = StoreOpen();
  if (result < 0) return result;
  // From here on the page says what every store since the file system was mounted has made.
  MarkInode(file_.get(), InodeMark::kOpen);
  // A failure has been reported, and does not stop a journal that can still outlive this process.
  if (syncer_->Flush() == kRecordFileOk) MarkInode(file_.get(), InodeMark::kOpenOnDisk);
  return kRecordFileOk;
}

RecordFileResult Writer::StoreOpen() {
  MarkOpened(kOpen, &state_);
  const RecordFileResult result = StoreFacts(state_, medium_);
  is_marked_ = result == kRecordFileOk;
  return result;
}

RecordFileResult Writer::BeginChange() {
  if (medium_.IsLost()) return kFileLost;
  return is_marked_ ? kRecordFileOk : MarkOpen();
}

int Writer::Append(const void* record) {
  RecordFileResult result = BeginChange();
  if (result == kRecordFileOk && !ring_.HasRoom()) result = MakeRoom();
  return result < 0 ? result : AfterChange(ring_.Append(record));
}

RecordFileResult Writer::Overwrite(int ticket, const void* record, std::uint64_t* sequence) {
  RecordFileResult result = ring_.Find(ticket, sequence);
  if (result == kRecordFileOk) result = BeginChange();
  if (result < 0) return result;
  return static_cast<RecordFileResult>(AfterChange(ring_.Overwrite(*sequence, record)));
}

int Writer::AfterChange(int result) {
  if (medium_.IsLost()) return kFileLost;
  if (result < 0) return result;
  if (--changes_until_nudge_ == 0) {
    changes_until_nudge_ = ChangesIn(policy_.bytes, geometry_);
    syncer_->Nudge();
  }
  // A flush that fails is told of once; the record is kept all the same.
  if (policy_.mode == SyncMode::kEach) static_cast<void>(syncer_->Flush());
  return result;
}

RecordFileResult Writer::MakeRoom() {
  if (geometry_.slot_count >= kMaxRecords || !ring_.HasNumbers()) return kTooManyRecords;
  Geometry larger = geometry_;
  larger.slot_count =
      std::min(geometry_.slot_count + GrowthSlots(geometry_.frames_per_cell), kMaxRecords);
  const std::uint64_t now = FileLength(geometry_);
  const std::uint64_t length = FileLength(larger);
  RecordFileResult result = AllocateSpace(file_, now, length - now);
  if (result < 0) return result;
  result = medium_.Grow(length);
  if (result == kRecordFileOk) geometry_ = larger;
  return result;
}

void Writer::NoteDamage(const std::vector<std::uint64_t>& sequences, std::uint64_t holes) {
  const std::size_t told = std::min(sequences.size(), kDamagedTold);
  for (std::size_t i = 0; i < told; ++i) {
    Report(LOG_ERR, "record " + std::to_string(sequences[i]) + " at byte " +
                        std::to_string(OffsetOf(geometry_, sequences[i])) + " is damaged");
  }
  if (told < sequences.size()) {
    Report(LOG_ERR,
           Records(sequences.size() - told) + " more found damaged; packetdb check tells where");
  }
  state_.damaged += sequences.size();
  state_.known_holes = holes;
  // Not noted is found again.
  if (BeginChange() == kRecordFileOk) static_cast<void>(StoreDamage(state_, medium_));
}

void Writer::Close(std::uint64_t holes) {
  syncer_->Stop();
  if (medium_.IsLost()) {
    Report(LOG_ERR, "the file was cut or could not be read while it was open");
    return;
  }
  if (!is_marked_) return;
  if (ring_.Finish() < 0) {
    Report(LOG_ERR,
           "a change that failed could not be completed or undone; the next writer sees to it");
    return;
  }
  state_.known_holes = holes;
  if (syncer_->Flush() == kRecordFileOk && MarkClosed() == kRecordFileOk) {
    static_cast<void>(syncer_->FlushUnnoted());
  }
}

// Destroying it would wait for a thread that this process does not have. It stays reachable, so
// that nobody takes it for forgotten.
void Writer::Abandon() {
  static auto* const abandoned = new std::vector<std::unique_ptr<Syncer>>;
  abandoned->push_back(std::move(syncer_));
}

// Everything else of the file is on the disk by now.
RecordFileResult Writer::MarkClosed() {
  StatePage page = {};
  const RecordFileResult result = medium_.Read(kStateOffset, &page, sizeof page);
  if (result < 0) return result;
  const StatePage words = page;
  page = state_;
  page.next = words.next;
  page.merges = words.merges;
  page.synced = words.synced;
  page.merges_synced = words.merges_synced;
  page.redo = words.redo;
  page.state = kClosed;
  page.checksum = ChecksumOf(page);
  return StoreFacts(page, medium_);
}

void Writer::Report(int priority, const std::string& text) const {
  slput(priority, (path_ + ": " + text).c_str());
}

}  // namespace packetdb::host
