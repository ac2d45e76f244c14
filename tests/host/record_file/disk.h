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

// The structures at the front of a file's bytes. Both superblocks are the same in a sound file.
Superblock SuperblockOf(const Bytes& bytes);  // the first
StatePage StateOf(const Bytes& bytes);
void PutSuperblock(const Superblock& block, Bytes* bytes);  // both copies, as it is
void PutSoundSuperblock(Superblock block, Bytes* bytes);    // with its checksum recomputed
void PutState(const StatePage& state, Bytes* bytes);        // as it is
void PutSoundState(StatePage state, Bytes* bytes);          // with its checksum recomputed

// Makes the first append to a closed and empty file get the sequence number `first`.
void StartAt(const std::string& path, std::uint64_t first);

// Makes a file that was not closed look as if the machine had been started since.
void MoveToOtherBoot(const std::string& path);

}  // namespace packetdb::host
