// A disk that keeps a log of itself: a file, served from memory by a process of its own, to put a
// loop device on. The device turns each flush of its file system into one of the file.
#pragma once

#include <memory>
#include <string>

#include "tests/faults/power/disk_log.h"
#include "tests/faults/power/process.h"

namespace packetdb::faults {

class LoggedDisk {
 public:
  // The disk begins with the bytes of the file `image`, which stays as it is, and is seen in
  // `folder`. Throws CannotRun when there is no FUSE.
  LoggedDisk(const std::string& image, const std::string& folder);
  LoggedDisk(const LoggedDisk&) = delete;
  LoggedDisk& operator=(const LoggedDisk&) = delete;
  ~LoggedDisk();

  std::string path() const;  // of the file to put a loop device on
  const DiskLog& log() const { return log_; }

 private:
  const std::string folder_;
  DiskLog log_;
  std::unique_ptr<Child> server_;
};

}  // namespace packetdb::faults
