#include "host/record_file/sync.h"

#include <cerrno>
#include <fcntl.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>

#include "host/record_file/layout.h"
#include "platform/log.h"

namespace packetdb::host {

RecordFileResult Syncer::Attach(const Descriptor& file, Way way, const std::string& path) {
  path_ = path;
  way_ = way;
  file_ = Descriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
  if (!file_.IsOpen()) return ResultFromErrno(errno);
  const RecordFileResult result = state_.Open(file_, kStateOffset, kPageSize, Access::kWrite, way);
  if (result < 0) return result;
  // Whatever the page says was flushed: a writer that changes nothing has nothing to flush, and one
  // that repairs the file flushes that itself.
  flushed_next_ = state_.LoadWord(kNextOffset);
  flushed_merges_ = state_.LoadWord(kMergesOffset);
  return kRecordFileOk;
}

RecordFileResult Syncer::Start(const SyncPolicy& policy) {
  if (policy.mode != SyncMode::kPeriodic) return kRecordFileOk;
  if (prefaulted_ && way_ == Way::kMapped) prefault_ = Prefault(file_, *prefaulted_);
  try {
    thread_ = std::thread([this, interval = policy.interval] { Run(interval); });
  } catch (const std::system_error&) {
    return kNoMemory;  // or too many threads, which is the same to who asks for one
  }
  return kRecordFileOk;
}

void Syncer::Nudge() {
  {
    const std::lock_guard lock(mutex_);
    nudged_ = true;
  }
  wake_.notify_one();
}

void Syncer::Stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    stops_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void Syncer::Run(std::chrono::milliseconds interval) {
  while (Wait(interval) && FlushWhatIsNew() == kRecordFileOk) {
    prefault_.Advance(state_.LoadWord(kNextOffset));
  }
}

// False when it is time to stop.
bool Syncer::Wait(std::chrono::milliseconds interval) {
  std::unique_lock lock(mutex_);
  wake_.wait_for(lock, interval, [this] { return stops_ || nudged_; });
  nudged_ = false;
  return !stops_;
}

RecordFileResult Syncer::FlushWhatIsNew() {
  const std::lock_guard lock(flushing_);
  const bool is_new = state_.LoadWord(kNextOffset) != flushed_next_ ||
                      state_.LoadWord(kMergesOffset) != flushed_merges_;
  return is_new ? FlushAndNote() : kRecordFileOk;
}

RecordFileResult Syncer::Flush() {
  const std::lock_guard lock(flushing_);
  return FlushAndNote();
}

RecordFileResult Syncer::FlushUnnoted() {
  const std::lock_guard lock(flushing_);
  return FlushOnly();
}

RecordFileResult Syncer::FlushAndNote() {
  const std::uint64_t next = state_.LoadWord(kNextOffset);
  const std::uint64_t merges = state_.LoadWord(kMergesOffset);
  if (const RecordFileResult result = FlushOnly(); result < 0) return result;
  flushed_next_ = next;
  flushed_merges_ = merges;
  // A failure leaves them behind, which is on the safe side.
  state_.StoreWord(kSyncedOffset, next);
  state_.StoreWord(kMergesSyncedOffset, merges);
  return kRecordFileOk;
}

RecordFileResult Syncer::FlushOnly() {
  if (HasFailed()) return kSystemError;
  if (FlushData(file_) == 0) return kRecordFileOk;
  const int error = errno;
  Fail(error);
  return ResultFromErrno(error);
}

void Syncer::Fail(int error) {
  has_failed_.store(true, std::memory_order_relaxed);
  const std::uint32_t failed = kFailed;
  state_.Write(kStateOffset + offsetof(StatePage, state), &failed, sizeof failed);
  // It may be that of a closed file by now, which would make the state look like a damaged one.
  const std::uint32_t no_checksum = 0;
  state_.Write(kStateOffset + kChecksumOffset, &no_checksum, sizeof no_checksum);
  const std::string text =
      path_ + ": records cannot be flushed to the disk (" + std::generic_category().message(error) +
      "); they are kept, and survive this process, but a power cut would take them";
  slput(LOG_ERR, text.c_str());
}

}  // namespace packetdb::host
