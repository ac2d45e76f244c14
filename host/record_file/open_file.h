// An open record file: its descriptor with the lock, its bytes, its records and, if it is open for
// writing, its writer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/inspect.h"
#include "host/record_file/medium.h"
#include "host/record_file/record_view.h"
#include "host/record_file/recovery.h"
#include "host/record_file/request.h"
#include "host/record_file/result.h"
#include "host/record_file/writer.h"

namespace packetdb::host {

class OpenFile {
 public:
  // Closed until Open succeeds. Open is called once.
  OpenFile() = default;
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  // A writer flushes what it changed, notes that the file is closed, and unlocks it. A failure is
  // reported to the system log.
  ~OpenFile() { Close(); }

  RecordFileResult Open(const OpenRequest& request);

  // As in CDbFile, on a file that is open. A writer's positions always mean the records that there
  // are; a reader's those that there were at the last Count, or at Open.
  int Append(const void* record);
  int Overwrite(int ticket, const void* record);
  int Read(int position, void* record);
  int ReadMany(int position, void* records, int count);
  int Count();

  const FileFacts& facts() const { return facts_; }  // as the file was found
  // The sequence number behind the newest record that the positions mean.
  std::uint64_t next() const { return view_->window().end; }

 private:
  RecordFileResult Attach(Descriptor file, const OpenRequest& request);
  RecordFileResult FindOut(Access access, Recovered* recovered);
  RecordFileResult StartWriter(const Recovered& recovered, Way way);
  RecordFileResult Resize(const OpenRequest& request);
  RecordFileResult BuildResizedFile(const OpenRequest& request, Descriptor* file);
  void UpdateWindow();
  void FollowGrowth(std::uint64_t* next);
  void Close();

  std::string path_;
  pid_t opened_by_ = 0;
  Descriptor file_;
  FileFacts facts_;
  Geometry geometry_;
  Medium medium_;
  std::optional<RecordView> view_;
  std::uint64_t recovered_next_ = 0;  // a reader's: the commit word of a dead writer can be behind
  std::optional<Writer> writer_;
};

}  // namespace packetdb::host
