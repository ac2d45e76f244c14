// The files of a folder as a new process would find them, while a stopped one is at work on them.
#pragma once

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace packetdb::faults {

class FolderWatch {
 public:
  explicit FolderWatch(std::string folder);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  // Whether any name, length or byte differs from when it was last asked. Stores to mapped files
  // change bytes only: names and lengths are looked at after system calls. The first answer is yes.
  bool Changed(bool after_system_call);

  // Puts copies of what was last seen into a folder that holds nothing else afterwards.
  void CopyTo(const std::string& folder) const;

 private:
  class File;

  bool FindFiles();

  std::string folder_;
  std::vector<std::unique_ptr<File>> files_;
  bool first_ = true;
};

}  // namespace packetdb::faults
