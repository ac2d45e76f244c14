// What a writer does to an open file: it repairs what its predecessor left, appends and overwrites,
// has the file flushed, and says in the state page when the file is being changed and when it is
// closed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/record_file/descriptor.h"
#include "host/record_file/inspect.h"
#include "host/record_file/medium.h"
#include "host/record_file/recovery.h"
#include "host/record_file/result.h"
#include "host/record_file/ring.h"
#include "host/record_file/settings.h"
#include "host/record_file/sync.h"

namespace packetdb::host {

// The file changes at the first append or overwrite, or when something has to be repaired. Until
// then it stays as it is, byte for byte.
class Writer {
 public:
  // `file` is open for writing and locked, `medium` covers it; both, `geometry` and `path` outlive
  // the writer. `facts` are those of the file, with `recovered` made of them.
  Writer(const std::string& path, const Descriptor& file, Medium& medium, Geometry& geometry,
         const FileFacts& facts, const Recovered& recovered);

  // Starts to flush by `policy` and repairs what has to be. Called once, first.
  RecordFileResult Start(Way way, const SyncPolicy& policy, const Recovered& recovered);

  std::uint64_t next() const { return ring_.next(); }
  const StatePage& state() const { return state_; }

  int Append(const void* record);
  // `sequence` is that of the record that the ticket names.
  RecordFileResult Overwrite(int ticket, const void* record, std::uint64_t* sequence);

  // Records were found damaged; `holes` live numbers have no record in all.
  void NoteDamage(const std::vector<std::uint64_t>& sequences, std::uint64_t holes);

  // Flushes and notes that the file is closed; called once, last. Nothing to do when nothing was
  // changed.
  void Close(std::uint64_t holes);

  // In a forked process, instead of Close: lets go of everything and changes nothing. The thread
  // that flushes is the parent's.
  void Abandon();

 private:
  RecordFileResult Repair(const Recovered& recovered);
  void TellOfLosses(const Recovered& recovered) const;
  RecordFileResult BeginChange();
  RecordFileResult MarkOpen();
  RecordFileResult StoreOpen();
  RecordFileResult MakeRoom();
  int AfterChange(int result);
  RecordFileResult MarkClosed();
  void Report(int priority, const std::string& text) const;

  const std::string& path_;
  const Descriptor& file_;
  Medium& medium_;
  Geometry& geometry_;
  Superblock superblock_;
  bool has_both_superblocks_;
  Ring ring_;
  // All of the page but what the ring and the syncer keep in it.
  StatePage state_;
  bool is_marked_ = false;  // the page says that the file is being changed
  SyncPolicy policy_;
  std::uint64_t changes_until_nudge_ = 0;
  std::unique_ptr<Syncer> syncer_ = std::make_unique<Syncer>();
};

}  // namespace packetdb::host
