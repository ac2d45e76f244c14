#include "host/record_file/open_file.h"

#include <algorithm>
#include <syslog.h>
#include <utility>

#include "host/record_file/open_or_create.h"
#include "host/record_file/resize.h"
#include "host/record_file/settings.h"
#include "platform/log.h"

namespace packetdb::host {
namespace {

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
  Descriptor file;
  RecordFileResult result = OpenOrCreate(request, &file);
  if (result == kRecordFileOk) result = Attach(std::move(file), request);
  if (result == kRecordFileOk && AsksForOtherCapacity(facts_, request)) result = Resize(request);
  return result;
}

RecordFileResult OpenFile::Attach(Descriptor file, const OpenRequest& request) {
  // Before the state is read: a writer that comes later only adds to what the page says.
  OtherWriter other = OtherWriter::kNone;
  RecordFileResult result = LookForWriter(file, request.access, &other);
  if (result == kRecordFileOk) result = Inspect(file, &facts_);
  if (result == kRecordFileOk && !IsAskedFor(facts_, request)) result = kOtherFormat;
  if (result < 0) return result;
  file_ = std::move(file);
  geometry_ = facts_.geometry;
  const Way way = GetRecordFileSettings().by_calls ? Way::kByCalls : BestWay(file_);
  result = medium_.Open(file_, 0, FileLength(geometry_), request.access, way);
  if (result < 0) return result;
  const Look look = GetRecordFileSettings().verify_at_opening ? Look::kThorough : Look::kQuick;
  Recovered recovered;
  result = Recover(medium_, geometry_, facts_.state, other, look, &recovered);
  if (result < 0) return result;
  recovered_next_ = recovered.next;
  view_.emplace(medium_, geometry_, recovered.holes);
  if (request.access == Access::kWrite) result = StartWriter(recovered, way);
  if (result == kRecordFileOk) UpdateWindow();
  return result;
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
  const std::uint64_t stated = medium_.LoadWord(kNextOffset);
  // What a dead writer left there was right or was found wrong. Only a living one changes it.
  const bool is_new = stated != facts_.state.next && IsPlausibleNext(geometry_, stated);
  view_->SetWindow(LiveWindow(geometry_, is_new ? stated : recovered_next_));
}

RecordFileResult OpenFile::Resize(const OpenRequest& request) {
  Descriptor file;
  RecordFileResult result = BuildResizedFile(request, &file);
  // Skipping what it met: damage is no reason to keep the file as it is.
  if (result == kDamagedRecord) result = BuildResizedFile(request, &file);
  // What would be written to the old one now, nobody would find.
  if (result < 0 && file.IsOpen()) return result;
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
  from.state.overwritten_before += from.next - geometry_.first_sequence - from.count;
  const std::uint64_t dropped = count - from.count;
  from.read = [this, dropped](std::uint64_t i, void* record) {
    return view_->Read(static_cast<int>(dropped + i), record);
  };
  return BuildResized(path_, request.format, from, file);
}

void OpenFile::Close() {
  if (writer_) writer_->Close(view_->Holes());
  writer_.reset();
  if (file_.IsOpen()) Unlock(file_);
}

}  // namespace packetdb::host
