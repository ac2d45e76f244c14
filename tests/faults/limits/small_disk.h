// File systems of a known size. They are gone with the program, however it ends: they are mounted
// where only this process and its children see it, and a loop device lets go of its image, which
// has no name, when nobody holds the device any more.
#pragma once

#include <cstdint>
#include <string>

#include "host/record_file/descriptor.h"

namespace packetdb::faults {

// Gives this process mounts of its own. Once, before the first SmallDisk; throws CannotRun.
void EnterOwnMounts();

enum class FileSystem { kTmpfs, kExt4 };

std::string NameOf(FileSystem kind);

class SmallDisk {
 public:
  // Mounts a fresh file system of `bytes` in a new folder below `folder`. Throws CannotRun when
  // something that this takes is missing here.
  SmallDisk(FileSystem kind, const std::string& folder, std::uint64_t bytes);
  ~SmallDisk();
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  FileSystem kind() const { return kind_; }
  std::string Path(const std::string& name) const { return mount_point_ + "/" + name; }
  std::uint64_t block_bytes() const;
  std::uint64_t FreeBlocks() const;

  // Fills the disk with a file of no interest until exactly `blocks` are free. Throws when it does
  // not come to that.
  void FillTo(std::uint64_t blocks);
  // Removes that file.
  void Free();

  // ext4 only. Forgets all that the kernel has cached of it; nothing is open on it.
  void Remount();
  // ext4 only. From now on reading beyond the first `bytes` of the device fails, unless cached.
  void LoseBeyond(std::uint64_t bytes);

 private:
  void MountTmpfs();
  void MountImage();
  void AttachImage();

  const FileSystem kind_;
  const std::string mount_point_;
  const std::uint64_t bytes_;
  host::Descriptor image_;
  host::Descriptor loop_;
  std::string device_;
  std::string filler_;
};

}  // namespace packetdb::faults
