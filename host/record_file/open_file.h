// An open record file: its descriptor with the lock, its memory and its ring.
#pragma once

#include "host/record_file/descriptor.h"
#include "host/record_file/inspect.h"
#include "host/record_file/mapping.h"
#include "host/record_file/request.h"
#include "host/record_file/result.h"
#include "host/record_file/ring.h"

namespace packetdb::host {

class OpenFile {
 public:
  // Closed until Open succeeds. Open is called once.
  OpenFile() = default;
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  // Unlocks and closes; a writer's changes are flushed to the disk first, and a flush that fails is
  // reported to the system log.
  ~OpenFile();

  RecordFileResult Open(const OpenRequest& request);

  // As in CDbFile, on a file that is open.
  int Append(const void* record);
  int Overwrite(int ticket, const void* record);
  const Ring& ring() const { return ring_; }

 private:
  RecordFileResult Attach(Descriptor file, const OpenRequest& request);
  RecordFileResult Recover(const FileFacts& facts);
  RecordFileResult MakeRoom();

  std::string path_;
  Access access_ = Access::kRead;
  Descriptor file_;
  Mapping mapping_;
  Ring ring_;
};

}  // namespace packetdb::host
