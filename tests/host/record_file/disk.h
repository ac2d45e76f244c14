// A folder of their own for the tests of the record file, and bytes of files in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

#include "host/record_file/layout.h"

namespace packetdb::host {

using Bytes = std::vector<char>;

// A fresh folder, removed with everything in it. Its name has a space, so that nothing here gets
// used to names without.
class Disk {
 public:
  Disk();
  ~Disk();
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  const std::string& folder() const { return folder_; }
  std::string NewPath();                   // in the folder; nothing exists there
  std::vector<std::string> Names() const;  // of the files in the folder, sorted

 private:
  std::string folder_;
  int paths_ = 0;
};

Bytes ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const Bytes& bytes);

// The structures at the front of a file's bytes.
HeaderPage HeaderOf(const Bytes& bytes);
StateWords StateOf(const Bytes& bytes);
void PutHeader(const HeaderPage& header, Bytes* bytes);  // as it is
void PutSoundHeader(HeaderPage header, Bytes* bytes);    // with its checksum recomputed
void PutState(const StateWords& state, Bytes* bytes);

// Makes the first append to a closed and empty file get the sequence number `first`.
void StartAt(const std::string& path, std::uint64_t first);

}  // namespace packetdb::host
