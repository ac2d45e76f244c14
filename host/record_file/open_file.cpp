#include "host/record_file/open_file.h"

#include <algorithm>
#include <cstring>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>
#include <utility>

#include "host/record_file/fill_holes.h"
#include "host/record_file/open.h"
#include "host/record_file/open_or_create.h"
#include "host/record_file/resize.h"
#include "host/record_file/settings.h"
#include "host/record_file/superblock.h"
#include "platform/log.h"

namespace packetdb::host {
namespace {

// Of a reader at a file whose writers come and go.
constexpr int kMostLooks = 100;

bool IsAskedFor(const FileFacts& facts, const OpenRequest& request) {
  return request.any_format || (facts.format.magic == request.format.magic &&
                                facts.format.record_size == request.format.record_size);
}

// Who asks for no bound, or for nothing, takes the file as it is.
bool AsksForOtherCapacity(const FileFacts& facts, const OpenRequest& request) {
  return request.access == Access::kWrite && request.format.capacity != 0 &&
         request.format.capacity != facts.format.capacity;
}

// Nobody but us can be the writer of a file that we have locked.
RecordFileResult LookForWriter(const Descriptor& file, Access access, OtherWriter* writer) {
  bool is_there = false;
  const RecordFileResult result =
      access == Access::kRead ? FindWriter(file, &is_there) : kRecordFileOk;
  *writer = is_there ? OtherWriter::kAtWork : OtherWriter::kNone;
  return result;
}

}  // namespace

RecordFileResult OpenFile::Open(const OpenRequest& request) {
  path_ = request.path;
  opened_by_ = getpid();
  Descriptor file;
  RecordFileResult result = OpenOrCreate(request, &file);
  if (result == kRecordFileOk) result = Attach(std::move(file), request);
  if (result == kRecordFileOk && AsksForOtherCapacity(facts_, request)) result = Resize(request);
  return result;
}

RecordFileResult OpenFile::Attach(Descriptor file, const OpenRequest& request) {
  RecordFileResult result = Inspect(file, &facts_);
  if (result == kRecordFileOk && !IsAskedFor(facts_, request)) result = kOtherFormat;
  if (result < 0) return result;
  file_ = std::move(file);
  geometry_ = facts_.geometry;
  if (request.access == Access::kWrite) result = FillHoles(file_, FileLength(geometry_));
  if (result < 0) return result;
  const Way way = GetRecordFileSettings().by_calls ? Way::kByCalls : BestWay(file_);
  result = medium_.Open(file_, 0, FileLength(geometry_), request.access, way);
  if (result < 0) return result;
  Recovered recovered;
  result = FindOut(request.access, &recovered);
  if (result < 0) return result;
  recovered_next_ = recovered.next;
  view_.emplace(medium_, geometry_, recovered.holes);
  if (request.access == Access::kWrite) result = StartWriter(recovered, way);
  if (result == kRecordFileOk) UpdateWindow();
  return result;
}

// A reader's search takes no account of what a writer does meanwhile: then it is worth nothing, and
// at the next look that writer is believed.
RecordFileResult OpenFile::FindOut(Access access, Recovered* recovered) {
  const Look look = GetRecordFileSettings().verify_at_opening ? Look::kThorough : Look::kQuick;
  for (int attempt = 1;; ++attempt) {
    // Before the state is read: a writer that comes later only adds to what the page says.
    OtherWriter other = OtherWriter::kNone;
    RecordFileResult result = LookForWriter(file_, access, &other);
    if (result == kRecordFileOk) {
      result = medium_.Read(kStateOffset, &facts_.state, sizeof facts_.state);
    }
    if (result == kRecordFileOk) {
      result = Recover(medium_, geometry_, facts_.state, other, look, recovered);
    }
    const bool may_be_stale = recovered->searched && access == Access::kRead;
    if (result < 0 || !may_be_stale || attempt == kMostLooks) return result;
    StatePage now = {};
    result = medium_.Read(kStateOffset, &now, sizeof now);
    // Whoever changes records changes this page before the first of them.
    if (result < 0 || std::memcmp(&now, &facts_.state, sizeof now) == 0) return result;
  }
}

RecordFileResult OpenFile::StartWriter(const Recovered& recovered, Way way) {
  writer_.emplace(path_, file_, medium_, geometry_, facts_, recovered);
  const RecordFileResult result = writer_->Start(way, GetRecordFileSettings().sync, recovered);
  // What was begun is begun again by the next writer: nothing is to be noted as closed.
  if (result < 0) writer_.reset();
  return result;
}

int OpenFile::Append(const void* record) {
  return writer_ ? writer_->Append(record) : kReadOnlyFile;
}

int OpenFile::Overwrite(int ticket, const void* record) {
  if (!writer_) return kReadOnlyFile;
  std::uint64_t sequence = 0;
  const RecordFileResult result = writer_->Overwrite(ticket, record, &sequence);
  if (result == kRecordFileOk) view_->Heal(sequence);
  return result;
}

int OpenFile::Read(int position, void* record) {
  if (writer_) UpdateWindow();
  return view_->Read(position, record);
}

int OpenFile::ReadMany(int position, void* records, int count) {
  if (writer_) UpdateWindow();
  return view_->ReadMany(position, records, count);
}

int OpenFile::Count() {
  UpdateWindow();
  if (view_->HasMetDamage()) {
    const std::vector<std::uint64_t> damaged = view_->SkipDamage();
    if (writer_ && !damaged.empty()) writer_->NoteDamage(damaged, view_->Holes());
  }
  return view_->Count();
}

void OpenFile::UpdateWindow() {
  if (writer_) {
    view_->SetWindow(LiveWindow(geometry_, writer_->next()));
    return;
  }
  std::uint64_t stated = 0;
  std::uint64_t opened = 0;
  const bool is_known = medium_.ReadWord(kNextOffset, &stated) == kRecordFileOk &&
                        medium_.ReadWord(kOpenedOffset, &opened) == kRecordFileOk;
  // Of a file that is gone, what was there stays, and cannot be read.
  if (!is_known || medium_.IsLost()) return;
  // What a dead writer left there was right or was found wrong. Only a living one changes it, or
  // the page around it.
  const bool is_new = stated != facts_.state.next || opened != facts_.state.opened_ns;
  if (is_new && geometry_.capacity == 0) FollowGrowth(&stated);
  const bool is_used = is_new && IsPlausibleNext(geometry_, stated);
  view_->SetWindow(LiveWindow(geometry_, is_used ? stated : recovered_next_));
}

// What cannot be followed is left out: all records before it are there.
void OpenFile::FollowGrowth(std::uint64_t* next) {
  const std::uint64_t first = geometry_.first_sequence;
  if (*next <= first + geometry_.slot_count || *next > first + kMaxRecords) return;
  struct stat status = {};
  Geometry larger = geometry_;
  const bool is_known = fstat(file_.get(), &status) == 0 &&
                        FitToLength(facts_.superblock, static_cast<std::uint64_t>(status.st_size),
                                    &larger) == kRecordFileOk;
  if (is_known && larger.slot_count > geometry_.slot_count &&
      medium_.Grow(FileLength(larger)) == kRecordFileOk) {
    geometry_ = larger;
  }
  *next = std::min(*next, first + geometry_.slot_count);
}

RecordFileResult OpenFile::Resize(const OpenRequest& request) {
  Descriptor file;
  RecordFileResult result = BuildResizedFile(request, &file);
  // Skipping what it met: damage is no reason to keep the file as it is.
  if (result == kDamagedRecord) result = BuildResizedFile(request, &file);
  // The last step may fail when the new file has the name already. What was appended to the old one
  // from then on would be lost with it.
  if (result < 0 && !IsFileAt(path_, file_)) return result;
  if (result < 0) {
    const std::string text = path_ + ": still keeps " + std::to_string(facts_.format.capacity) +
                             " records, not " + std::to_string(request.format.capacity) + ": " +
                             std::string(DescribeRecordFileResult(result));
    slput(LOG_WARNING, text.c_str());
    return kRecordFileOk;
  }
  // The old file has lost its name; what is noted in it is of no use to anybody.
  writer_.reset();
  view_.reset();
  medium_ = Medium();
  return Attach(std::move(file), request);
}

RecordFileResult OpenFile::BuildResizedFile(const OpenRequest& request, Descriptor* file) {
  const auto count = static_cast<std::uint64_t>(Count());
  Inheritance from;
  from.next = writer_->next();
  from.count = std::min(count, request.format.capacity);
  from.state = writer_->state();
  RecordFileResult result = medium_.ReadWord(kMergesOffset, &from.state.merges);
  if (result < 0) return result;
  // A number without a record was lost, not overwritten.
  from.state.overwritten_before +=
      from.next - geometry_.first_sequence - from.count - view_->Holes();
  from.file = &file_;
  const std::uint64_t dropped = count - from.count;
  from.read = [this, dropped](std::uint64_t i, void* record) {
    return view_->Read(static_cast<int>(dropped + i), record);
  };
  return BuildResized(path_, request.format, from, file);
}

// A forked process has a copy of everything, and neither the thread that flushes nor the right to
// say that the file is closed, or to give its lock back: both are still its parent's.
void OpenFile::Close() {
  if (getpid() != opened_by_) {
    if (writer_) writer_->Abandon();
    return;
  }
  if (writer_) writer_->Close(view_->Holes());
  writer_.reset();
  if (file_.IsOpen()) Unlock(file_);
}

}  // namespace packetdb::host
