// File systems on loop devices, which nobody but this process and its children sees.
//
// They live in a mount namespace of their own, and loop devices let go of their file with the last
// mount: so however this process ends, the kernel takes everything down.
#pragma once

#include <cstdint>
#include <string>

#include "host/record_file/descriptor.h"

namespace packetdb::faults {

// To be called before anything is mounted. Throws CannotRun when it is not permitted.
void EnterPrivateMounts();

// A block device whose blocks are those of a file.
class LoopDevice {
 public:
  // Throws CannotRun when there are no loop devices.
  explicit LoopDevice(const host::Descriptor& file);
  LoopDevice(const LoopDevice&) = delete;
  LoopDevice& operator=(const LoopDevice&) = delete;
  ~LoopDevice();

  const std::string& path() const { return path_; }

 private:
  bool TakeFree(int control, const host::Descriptor& file);

  std::string path_;
  host::Descriptor device_;
};

enum class FileSystem { kExt4, kXfs };

const char* NameOf(FileSystem kind);

// An empty file system in a file, large enough for journals of some thousand records. Throws
// CannotRun when the tool for it is missing.
void MakeFileSystem(FileSystem kind, const std::string& path);

// A mounted file system.
class Mount {
 public:
  // Throws std::runtime_error when it cannot be mounted: its own log could not be replayed.
  Mount(FileSystem kind, const LoopDevice& device, const std::string& folder);
  Mount(const Mount&) = delete;
  Mount& operator=(const Mount&) = delete;
  ~Mount();

 private:
  std::string folder_;
};

// Takes the power away from the file system at `folder`: nothing that is not on the device gets
// there any more. Its own log is written before when `with_log` is set.
void ShutDown(const std::string& folder, bool with_log);

}  // namespace packetdb::faults
