// Flushing a file to the disk from a thread of its own, so that nobody who appends ever waits.
//
// The thread has its own descriptor and its own view of the state page. It reads how far the writer
// has come, flushes, and notes how far it had come before: that much is on the disk. It shares
// nothing else with the writer.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/medium.h"
#include "host/record_file/prefault.h"
#include "host/record_file/result.h"
#include "host/record_file/settings.h"

namespace packetdb::host {

// The first failure of a flush is the last flush: the kernel may drop what it could not write and
// report success the next time, so that no later success means anything. The state page then says
// so, `synced` stands still, and the system log has a line.
class Syncer {
 public:
  Syncer() = default;
  Syncer(const Syncer&) = delete;
  Syncer& operator=(const Syncer&) = delete;
  ~Syncer() { Stop(); }

  // Has the thread make pages ready ahead of the writer. Before Start.
  void PrefaultFor(const Geometry& geometry) { prefaulted_ = geometry; }

  // `file` is open for writing and locked; `path` is for the log. From then on Flush can be called.
  RecordFileResult Attach(const Descriptor& file, Way way, const std::string& path);

  // Starts the thread, if `policy` wants one. Once, after Attach.
  RecordFileResult Start(const SyncPolicy& policy);

  // Flushes soon. Cheap when the thread has not taken up the last request yet.
  void Nudge();

  // Ends the thread after a flush that is under way.
  void Stop();

  // Flushes in the calling thread, which is that of the writer.
  RecordFileResult Flush();

  // The same, but notes nothing when it succeeds: the page has a checksum by now.
  RecordFileResult FlushUnnoted();

  bool HasFailed() const { return has_failed_.load(std::memory_order_relaxed); }

 private:
  void Run(std::chrono::milliseconds interval);
  bool Wait(std::chrono::milliseconds interval);
  RecordFileResult FlushWhatIsNew();
  RecordFileResult FlushAndNote();
  RecordFileResult FlushOnly();
  void Fail(int error);

  std::string path_;
  Way way_ = Way::kMapped;
  Descriptor file_;
  Medium state_;  // the state page alone
  std::uint64_t flushed_next_ = 0;
  std::uint64_t flushed_merges_ = 0;
  std::atomic<bool> has_failed_{false};
  // Two flushes at a time would share a failure: one of them would take itself for a success.
  std::mutex flushing_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stops_ = false;
  bool nudged_ = false;
  std::optional<Geometry> prefaulted_;
  Prefault prefault_;
  std::thread thread_;
};

}  // namespace packetdb::host
